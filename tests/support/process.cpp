#include "tests/support/process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace testsupport {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds POLL_INTERVAL{1};
constexpr std::chrono::seconds OUTPUT_LIMIT{60};

pid_t Spawn(const std::string& program, std::vector<std::string> arguments,
            const std::string& workingDirectory, const std::string& out, const std::string& err) {
    arguments.insert(arguments.begin(), program);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), flags, 0666);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), flags, 0666);
    posix_spawn_file_actions_addchdir_np(&actions, workingDirectory.c_str());
    // In a background job of a script, SIGINT and SIGQUIT are ignored, and children inherit that.
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGINT);
    sigaddset(&defaults, SIGQUIT);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, program.c_str(), &actions, &attributes,
                               Pointers(arguments).data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return rc == 0 ? pid : -1;
}

}  // namespace

std::string ReadFile(const std::string& fileName) {
    std::ifstream file(fileName, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Process::Process(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& workingDirectory, const std::string& label)
    : i_outFile(workingDirectory + "/" + label + ".out"),
      i_errFile(workingDirectory + "/" + label + ".err"),
      i_pid(Spawn(program, arguments, workingDirectory, i_outFile, i_errFile)) {
    if (i_pid < 0) {
        throw std::runtime_error("cannot start " + program);
    }
}

Process::~Process() {
    if (!ended()) {
        wait(std::chrono::seconds(0));
    }
}

bool Process::ended() {
    if (i_pid > 0 && waitpid(i_pid, &i_status, WNOHANG) == i_pid) {
        i_pid = -1;
    }
    return i_pid < 0;
}

ProcessResult Process::wait(std::chrono::seconds limit) {
    const auto end = Clock::now() + limit;
    while (!ended()) {
        if (Clock::now() >= end) {
            kill(i_pid, SIGKILL);
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
    ProcessResult result = ResultOf(i_status);
    result.out = ReadFile(i_outFile);
    result.err = ReadFile(i_errFile);
    return result;
}

ProcessResult Process::stop() {
    if (!ended()) {
        kill(i_pid, SIGTERM);
    }
    return wait();
}

bool Process::waitForOutput(const std::string& text) {
    const auto end = Clock::now() + OUTPUT_LIMIT;
    while (Clock::now() < end) {
        const bool last = ended();
        if (ReadFile(i_outFile).find(text) != std::string::npos) {
            return true;
        }
        if (last) {
            return false;
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
    return false;
}

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory) {
    return Process(program, arguments, workingDirectory, "program").wait();
}

}  // namespace testsupport
