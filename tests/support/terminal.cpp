#include "tests/support/terminal.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "tests/support/child.h"

namespace testsupport {

namespace {

constexpr std::chrono::seconds SHOWN_LIMIT{60};
constexpr std::chrono::seconds END_LIMIT{100};
constexpr int READ_INTERVAL = 5;  // milliseconds

}  // namespace

Terminal::Terminal(const std::string& program, std::vector<std::string> arguments,
                   const std::string& workingDirectory, unsigned short columns) {
    arguments.insert(arguments.begin(), program);
    const std::vector<char*> argv = Pointers(arguments);
    const winsize size = {24, columns, 0, 0};
    i_pid = forkpty(&i_terminal, nullptr, nullptr, &size);
    if (i_pid == 0) {
        // In a background job of a script, they are ignored, and children inherit that.
        signal(SIGINT, SIG_DFL);
        signal(SIGQUIT, SIG_DFL);
        if (chdir(workingDirectory.c_str()) == 0) {
            execv(program.c_str(), argv.data());
        }
        _exit(127);
    }
    if (i_pid < 0) {
        throw std::runtime_error("cannot create a pseudo-terminal");
    }
}

Terminal::~Terminal() {
    hangUp();
    if (!ended()) {
        kill(i_pid, SIGKILL);
        waitpid(i_pid, nullptr, 0);
    }
}

bool Terminal::ended() {
    i_ended = i_ended || waitpid(i_pid, &i_status, WNOHANG) == i_pid;
    return i_ended;
}

/** False if nothing came in time, or the terminal is closed. */
bool Terminal::readSome(int milliseconds) {
    pollfd ready = {i_terminal, POLLIN, 0};
    char bytes[4096];
    if (i_terminal < 0 || poll(&ready, 1, milliseconds) <= 0) {
        return false;
    }
    const ssize_t count = read(i_terminal, bytes, sizeof bytes);
    i_shown.append(bytes, count > 0 ? static_cast<size_t>(count) : 0);
    return count > 0;
}

bool Terminal::waitFor(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + SHOWN_LIMIT;
    while (i_shown.find(text) == std::string::npos) {
        const bool last = ended();
        if (!readSome(READ_INTERVAL) && (last || std::chrono::steady_clock::now() > end)) {
            return false;
        }
    }
    return true;
}

void Terminal::type(const std::string& keys) {
    if (write(i_terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size())) {
        throw std::runtime_error("cannot write to the terminal");
    }
}

void Terminal::hangUp() {
    if (i_terminal >= 0) {
        close(i_terminal);
        i_terminal = -1;
    }
}

int Terminal::wait() {
    const auto end = std::chrono::steady_clock::now() + END_LIMIT;
    while (!ended()) {
        if (!readSome(READ_INTERVAL)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(READ_INTERVAL));
        }
        if (Clock::now() > end) {
            kill(i_pid, SIGKILL);
        }
    }
    while (readSome(0)) {
    }
    return ResultOf(i_status).exitValue;
}

}  // namespace testsupport
