#include "companions/operator/run/toolprocess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 declares no C linkage here
}

namespace run {

namespace {

/**
 * Size of the log's pipe in bytes: the largest that needs no privilege. The tool can write this
 * much while this process is stopped.
 */
constexpr int PIPE_SIZE = 1 << 20;

std::vector<char*> ArgumentsOf(const Command& command) {
    std::vector<char*> argv = {const_cast<char*>(command.path.c_str())};
    for (const std::string& argument : command.arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    return argv;
}

/** Starts the program with the given standard output; 0 or an errno. */
int SpawnTool(const Command& command, int output, const Signals& signals, pid_t& pid) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    for (const int kept : command.kept) {
        posix_spawn_file_actions_adddup2(&actions, kept, kept);  // clears close-on-exec
    }
    const ChildAttributes attributes(signals);
    const int error = posix_spawn(&pid, command.path.c_str(), &actions, attributes.get(),
                                  ArgumentsOf(command).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

ToolProcess::~ToolProcess() {
    if (i_output >= 0) {
        close(i_output);
    }
    if (i_end >= 0) {
        close(i_end);
    }
}

int ToolProcess::start(const Command& command, const Signals& signals) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return errno;
    }
    i_output = ends[0];
    (void)fcntl(i_output, F_SETPIPE_SZ, PIPE_SIZE);  // if refused, the default size will do
    fcntl(i_output, F_SETFL, O_NONBLOCK);
    const int error = SpawnTool(command, ends[1], signals, i_pid);
    close(ends[1]);
    if (error != 0) {
        return error;
    }
    i_end = pidfd_open(i_pid, 0);
    return 0;
}

std::size_t ToolProcess::read(char* buffer, std::size_t size) {
    const ssize_t count = ::read(i_output, buffer, size);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void ToolProcess::kill() {
    ::kill(i_pid, SIGKILL);
}

Ending ToolProcess::wait() {
    int status = 0;
    while (waitpid(i_pid, &status, 0) < 0 && errno == EINTR) {
    }
    Ending ending;
    ending.exitValue = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    ending.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return ending;
}

}  // namespace run
