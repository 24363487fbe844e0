#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "companions/operator/run/signals.h"

namespace run {

/** How a program ended: by itself with a value, or by a signal, which is 0 otherwise. */
struct Ending {
    int exitValue = 0;
    int signal = 0;
};

/** A program to start. */
struct Command {
    std::string path;
    std::vector<std::string> arguments;
    /** Descriptors of this process that the program keeps; all others should close on exec. */
    std::vector<int> kept;
};

/**
 * The tool as a child, in a session of its own, so that no terminal reaches it. It starts with
 * SIGHUP, SIGINT, SIGQUIT and SIGTERM ignored: this process alone ends it, with kill(). Its
 * standard output comes here; standard error, working directory and environment it shares with this
 * process.
 *
 * A tool that is still running when the object goes lives on. One thread.
 */
class ToolProcess {
  public:
    ToolProcess() = default;
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /** 0, or the errno that tells why the tool didn't start. */
    [[nodiscard]] int start(const Command& command, const Signals& signals);

    /** Readable when read() has bytes, or the output has ended. */
    int output() const { return i_output; }
    /** Readable from the tool's end on. */
    int end() const { return i_end; }

    /** Doesn't wait. The bytes that came; 0 if there are none now or any more. */
    std::size_t read(char* buffer, std::size_t size);
    void kill();
    /** Waits for its end; to be called once. */
    Ending wait();

  private:
    pid_t i_pid = 0;
    int i_output = -1;
    int i_end = -1;
};

}  // namespace run
