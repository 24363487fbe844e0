#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace run {

/** How the tool ended: by itself with a value, or by a signal, which is 0 otherwise. */
struct Ending {
    int exitValue = 0;
    int signal = 0;
};

/**
 * The tool as a child. Its standard output comes here; all else it shares with this process: its
 * standard error, its working directory, its environment. SIGINT and SIGTERM are passed on to it
 * for as long as it is there, unless they were ignored from the start.
 *
 * One in a process, since signals know nothing of objects. One thread.
 */
class ToolProcess {
  public:
    ToolProcess() = default;
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /** 0, or the errno that tells why the tool didn't start. */
    int start(const std::string& path, const std::vector<std::string>& arguments);

    /**
     * Waits for output. The bytes that came; 0 at the end of the output, -1 if the time was over
     * first.
     */
    ssize_t read(char* buffer, std::size_t size, std::chrono::milliseconds limit);

    /** Waits for its end. */
    Ending wait();

  private:
    int i_output = -1;
};

}  // namespace run
