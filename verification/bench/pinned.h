#pragma once

#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace bench {

/**
 * Forks, with the child on a processor from its start. Throws std::runtime_error, only in the
 * parent, if the machine lacks the processor or fork fails.
 */
inline pid_t ForkPinned(int processor) {
    cpu_set_t before;
    cpu_set_t only;
    CPU_ZERO(&only);
    CPU_SET(static_cast<size_t>(processor), &only);
    // The child inherits the affinity, which the parent then restores.
    if (sched_getaffinity(0, sizeof before, &before) != 0 ||
        sched_setaffinity(0, sizeof only, &only) != 0) {
        throw std::runtime_error("cannot run on processor " + std::to_string(processor));
    }
    const pid_t pid = fork();
    if (pid != 0) {
        sched_setaffinity(0, sizeof before, &before);
    }
    if (pid < 0) {
        throw std::runtime_error("cannot start a process");
    }
    return pid;
}

/**
 * Runs `body`, which must not return, in a child on a processor. Returns the child's resource
 * usage. Throws std::runtime_error if the child ends with another exit value.
 */
template <typename Body>
rusage RunPinned(int processor, int exitValue, Body body) {
    const pid_t pid = ForkPinned(processor);
    if (pid == 0) {
        body();
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    rusage usage = {};
    wait4(pid, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != exitValue) {
        throw std::runtime_error("a host failed, wait status " + std::to_string(status));
    }
    return usage;
}

/** Replaces this process by the tool, in a directory and without a log. Returns on failure. */
inline void BecomeTool(const std::string& tool, const std::string& directory) {
    if (chdir(directory.c_str()) == 0 && freopen("/dev/null", "w", stdout) != nullptr) {
        execl(tool.c_str(), "tolmira_upgrade", "image", "configuration", nullptr);
    }
}

}  // namespace bench
