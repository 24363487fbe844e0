#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testsupport {

/** A program on a pseudo-terminal of its own, which is its controlling terminal, as at a login. */
class Terminal {
  public:
    /** Throws std::runtime_error if the program cannot be started. */
    Terminal(const std::string& program, const std::vector<std::string>& arguments,
             const std::string& workingDirectory, unsigned short columns = 80);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /** Reads until the screen has shown the text. False: the program ended, or ten seconds are
     * over. */
    [[nodiscard]] bool waitFor(const std::string& text);
    /** As if it had been typed; "\3" is Ctrl-C. */
    void type(const std::string& keys);
    /** The terminal goes away. */
    void hangUp();
    /** Reads to the program's end; its exit value, or -1 if a signal ended it. */
    int wait();

    pid_t pid() const { return i_pid; }
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
