#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/support/child.h"

namespace testsupport {

using ProcessResult = ChildResult;

/**
 * A running program. Its output goes to two files in its working directory, which must outlive this
 * object. The destructor kills the process if it still runs.
 */
class Process {
  public:
    /** Throws std::runtime_error if the program cannot be started. `label` names the files. */
    Process(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& workingDirectory, const std::string& label);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /** Waits for its end, and kills it after `limit`. */
    ProcessResult wait(std::chrono::seconds limit = std::chrono::seconds(100));
    /** Valid until the process has been waited for. */
    pid_t pid() const { return i_pid; }
    /** Sends SIGTERM, and waits. */
    ProcessResult stop();
    /** Waits for the text on its standard output. False if it ends first, or after 60 seconds. */
    [[nodiscard]] bool waitForOutput(const std::string& text);

  private:
    bool ended();

    std::string i_outFile;
    std::string i_errFile;
    pid_t i_pid = -1;
    int i_status = 0;
};

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory);

/** The contents of a file; empty if it doesn't exist. */
std::string ReadFile(const std::string& fileName);

}  // namespace testsupport
