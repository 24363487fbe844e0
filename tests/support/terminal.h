#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testsupport {

/** A program whose controlling terminal is a new pseudo-terminal, as after a login. */
class Terminal {
  public:
    /** Throws std::runtime_error if the program cannot be started. */
    Terminal(const std::string& program, std::vector<std::string> arguments,
             const std::string& workingDirectory, unsigned short columns = 80);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /** Waits for the text on the screen. False if the program ends first, or after 60 seconds. */
    [[nodiscard]] bool waitFor(const std::string& text);
    /** Types the keys; "\3" is Ctrl-C. */
    void type(const std::string& keys);
    /** Closes the terminal, as a lost connection does. */
    void hangUp();
    /** Waits for the program's end. Returns its exit value, or -1 if a signal ended it. */
    int wait();

    /** Everything shown so far. */
    const std::string& shown() const { return i_shown; }

  private:
    bool readSome(int milliseconds);
    bool ended();

    pid_t i_pid = -1;
    int i_terminal = -1;
    int i_status = 0;
    bool i_ended = false;
    std::string i_shown;
};

}  // namespace testsupport
