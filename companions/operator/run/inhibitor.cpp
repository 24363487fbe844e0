#include "companions/operator/run/inhibitor.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace run {

namespace {

void Close(int& descriptor) {
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}

/** cat starts once the lock is held, echoes its input, and ends at the end of it. */
const char* const COMMAND[] = {"systemd-inhibit",
                               "--what=sleep:shutdown:idle",
                               "--who=tolmira_run",
                               "--why=The firmware of the Tolmira controller is being written",
                               "--mode=block",
                               "cat",
                               nullptr};

/** The child's id; 0 if it can't be started. */
pid_t SpawnInhibitor(int input, int output, const Signals& signals) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const ChildAttributes attributes(signals);
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, COMMAND[0], &actions, attributes.get(),
                                   const_cast<char* const*>(COMMAND), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : 0;
}

}  // namespace

void Inhibitor::keepFor(Command& tool) {
    int ends[2];
    if (i_write < 0 && pipe2(ends, O_CLOEXEC) == 0) {
        i_read = ends[0];
        i_write = ends[1];
    }
    if (i_write >= 0) {
        tool.kept.push_back(i_write);
    }
}

void Inhibitor::ask() {
    i_asked = true;
    int ends[2];
    if (i_write < 0 || write(i_write, "\n", 1) != 1 || pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    i_child = SpawnInhibitor(i_read, ends[1], i_signals);
    i_askedAt = Clock::now();
    i_echo = ends[0];
    close(ends[1]);
    Close(i_read);
}

bool Inhibitor::granted() const {
    pollfd echo = {i_echo, POLLIN, 0};
    return poll(&echo, 1, 0) == 1 && (echo.revents & POLLIN) != 0;
}

void Inhibitor::attend(bool wanted) {
    if (wanted && !i_asked) {
        ask();
    }
    if (i_echo < 0) {
        return;
    }
    if (granted()) {
        Close(i_echo);
    } else if (Clock::now() - i_askedAt > LIMIT) {
        endChild();
    }
}

void Inhibitor::endChild() {
    Close(i_echo);
    if (i_child > 1) {
        kill(i_child, SIGKILL);
        waitpid(i_child, nullptr, 0);
    }
    i_child = 0;
}

void Inhibitor::stop() {
    Close(i_write);
    Close(i_read);
    endChild();
    i_asked = false;
}

}  // namespace run
