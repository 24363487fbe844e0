#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/support/child.h"

namespace testsupport {

/** What a program left behind. */
using ProcessResult = ChildResult;

/**
 * A program of the build, running. Its output goes to two files in its working directory, which
 * must outlive this object. A process that is still there at the end is killed.
 */
class Process {
  public:
    /** Throws std::runtime_error if the program cannot be started. `label` names the files. */
    Process(const std::string& program, const std::vector<std::string>& arguments,
            const std::string& workingDirectory, const std::string& label);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /** Waits for its end; after `limit` it is killed. */
    ProcessResult wait(std::chrono::seconds limit = std::chrono::seconds(100));
    /** Its process id; of one that hasn't been waited for. */
    pid_t pid() const { return i_pid; }
    /** Asks it to end with SIGTERM, and waits. */
    ProcessResult stop();
    /** Waits until its standard output holds the text. False: it ended, or ten seconds are over. */
    [[nodiscard]] bool waitForOutput(const std::string& text);

  private:
    bool ended();

    std::string i_outFile;
    std::string i_errFile;
    pid_t i_pid = -1;
    int i_status = 0;
};

/** Starts a program and waits for its end. */
ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory);

/** The contents of a file, empty if there is none. */
std::string ReadFile(const std::string& fileName);

}  // namespace testsupport
