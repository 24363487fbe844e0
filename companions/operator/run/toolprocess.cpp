#include "companions/operator/run/toolprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace run {

namespace {

constexpr int PASSED_ON[] = {SIGINT, SIGTERM};

/** The tool while it is there, 0 otherwise; changed only while the signals are blocked. */
volatile pid_t tool = 0;

void PassOn(int signal) {
    const int error = errno;
    if (tool != 0) {
        kill(tool, signal);
    }
    errno = error;
}

/** Keeps the signals that are passed on away for the length of a scope. */
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : PASSED_ON) {
            sigaddset(&signals, signal);
        }
        sigprocmask(SIG_BLOCK, &signals, &i_before);
    }
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &i_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

    const sigset_t& before() const { return i_before; }

  private:
    sigset_t i_before;
};

/**
 * A reader of our output that goes away must not end this process in the middle of a run. What the
 * signal would have done to the tool, it still does.
 */
void IgnoreSigpipe(sigset_t& toolDefaults) {
    struct sigaction before = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &before);
    sigemptyset(&toolDefaults);
    if (before.sa_handler != SIG_IGN) {
        sigaddset(&toolDefaults, SIGPIPE);
    }
}

void CatchSignals() {
    for (const int signal : PASSED_ON) {
        struct sigaction action = {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            action = {};
            action.sa_handler = PassOn;
            action.sa_flags = SA_RESTART;
            sigaction(signal, &action, nullptr);
        }
    }
}

std::vector<char*> ArgumentsOf(const std::string& path, const std::vector<std::string>& arguments) {
    std::vector<char*> argv = {const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    return argv;
}

/** Starts the tool with the given standard output; 0 or an errno. */
int Spawn(const std::string& path, const std::vector<std::string>& arguments, int output,
          const sigset_t& mask, pid_t& pid) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    IgnoreSigpipe(defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &mask);
    const int error = posix_spawn(&pid, path.c_str(), &actions, &attributes,
                                  ArgumentsOf(path, arguments).data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

ToolProcess::~ToolProcess() {
    if (i_output >= 0) {
        close(i_output);
    }
}

int ToolProcess::start(const std::string& path, const std::vector<std::string>& arguments) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return errno;
    }
    const SignalsBlocked blocked;
    CatchSignals();
    pid_t pid = 0;
    const int error = Spawn(path, arguments, ends[1], blocked.before(), pid);
    tool = error == 0 ? pid : 0;
    close(ends[1]);
    i_output = ends[0];
    return error;
}

ssize_t ToolProcess::read(char* buffer, std::size_t size, std::chrono::milliseconds limit) {
    pollfd output = {i_output, POLLIN, 0};
    if (poll(&output, 1, static_cast<int>(limit.count())) <= 0) {
        return -1;  // a signal counts as the time: both are no end
    }
    const ssize_t count = ::read(i_output, buffer, size);
    // What can't be read any more is at its end.
    return count < 0 && errno != EINTR ? 0 : count;
}

Ending ToolProcess::wait() {
    // It stays there, as a zombie, until no signal can be passed on to it any more.
    siginfo_t info;
    while (waitid(P_PID, static_cast<id_t>(tool), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    const SignalsBlocked blocked;
    int status = 0;
    waitpid(tool, &status, 0);
    tool = 0;
    Ending ending;
    ending.exitValue = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    ending.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return ending;
}

}  // namespace run
