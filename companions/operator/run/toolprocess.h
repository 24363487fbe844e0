#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "companions/operator/run/signals.h"

namespace run {

/** How a program ended: by a signal, or with an exit value if `signal` is 0. */
struct Ending {
    int exitValue = 0;
    int signal = 0;
};

/** A program to start. */
struct Command {
    std::string path;
    std::vector<std::string> arguments;
    /** Descriptors that the program inherits; all others must be close-on-exec. */
    std::vector<int> kept;
};

/**
 * The tool as a child process in a session of its own, so that no terminal can signal it. It starts
 * with SIGHUP, SIGINT, SIGQUIT and SIGTERM ignored; only kill() ends it. Its standard output is
 * read here; it shares standard error, working directory and environment with this process.
 *
 * The destructor leaves a running tool alone. One thread.
 */
class ToolProcess {
  public:
    ToolProcess() = default;
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /** 0, or the errno with which the start failed. */
    [[nodiscard]] int start(const Command& command, const Signals& signals);

    /** Readable when read() has bytes, or at the end of the output. */
    int output() const { return i_output; }
    /** Readable once the tool has ended. */
    int end() const { return i_end; }

    /** Never waits. The number of bytes read; 0 if there are none now, or no more. */
    std::size_t read(char* buffer, std::size_t size);
    void kill();
    /** Waits for the tool's end; to be called once. */
    Ending wait();

  private:
    pid_t i_pid = 0;
    int i_output = -1;
    int i_end = -1;
};

}  // namespace run
