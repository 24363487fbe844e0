#include "verification/campaign/locksteptool.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <stdexcept>

#include "verification/campaign/futex.h"

namespace campaign {

namespace {

/** Real time, far more than the tool needs between two calls on a busy machine. */
constexpr timespec HANG_LIMIT = {60, 0};

/** The turns of the only LockstepTool, for the signal handler. */
Turns* currentTurns = nullptr;

void NoteEnd(int /*signal*/) {
    currentTurns->turn.store(e_ToolEnded, std::memory_order_release);
}

int MemoryFile(const char* name, unsigned flags) {
    const int file = memfd_create(name, flags);
    if (file < 0) {
        throw std::runtime_error(std::string("cannot create memory file ") + name);
    }
    return file;
}

void Empty(int file) {
    if (ftruncate(file, 0) != 0 || lseek(file, 0, SEEK_SET) != 0) {
        throw std::runtime_error("cannot empty a memory file");
    }
}

std::string Contents(int file) {
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot read a memory file");
    }
    return text;
}

}  // namespace

LockstepTool::LockstepTool(const std::string& library)
    :  // The only descriptor that the tool inherits.
      i_turnsFile(MemoryFile("turns", 0)),
      i_outFile(MemoryFile("out", MFD_CLOEXEC)),
      i_errFile(MemoryFile("err", MFD_CLOEXEC)) {
    if (ftruncate(i_turnsFile, sizeof(Turns)) != 0) {
        throw std::runtime_error("no shared memory for the turns");
    }
    void* memory = mmap(nullptr, sizeof(Turns), PROT_READ | PROT_WRITE, MAP_SHARED, i_turnsFile, 0);
    if (memory == MAP_FAILED) {
        throw std::runtime_error("cannot map the turns");
    }
    i_turns = new (memory) Turns{};
    currentTurns = i_turns;
    makeEnvironment(library);
    struct sigaction action = {};
    action.sa_handler = NoteEnd;
    action.sa_flags = SA_NOCLDSTOP;
    sigaction(SIGCHLD, &action, nullptr);
}

LockstepTool::~LockstepTool() {
    if (i_pid > 0) {
        kill(i_pid, SIGKILL);
        waitpid(i_pid, nullptr, 0);
    }
    signal(SIGCHLD, SIG_DFL);
    munmap(i_turns, sizeof(Turns));
    for (const int file : {i_turnsFile, i_outFile, i_errFile}) {
        close(file);
    }
}

void LockstepTool::makeEnvironment(const std::string& library) {
    // AddressSanitizer must accept that the preloaded library comes first.
    std::string sanitizer = "ASAN_OPTIONS=verify_asan_link_order=0";
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (text.rfind("ASAN_OPTIONS=", 0) == 0) {
            sanitizer = text + ":verify_asan_link_order=0";
        } else if (text.rfind("LD_PRELOAD=", 0) != 0) {
            i_environment.push_back(text);
        }
    }
    i_environment.push_back(sanitizer);
    i_environment.push_back("LD_PRELOAD=" + library);
    i_environment.push_back(LOCKSTEP_VARIABLE + ("=" + std::to_string(i_turnsFile)));
}

void LockstepTool::start(std::vector<std::string> command, const std::string& directory,
                         const AtLocks& atLocks) {
    Empty(i_outFile);
    Empty(i_errFile);
    i_turns->turn = e_ToolsTurn;
    i_turns->locks = 0;
    i_turns->atLocks = atLocks.turn;
    i_turns->killAtLock = atLocks.kill;
    i_hung = false;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, i_outFile, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, i_errFile, STDERR_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    const int rc = posix_spawn(&i_pid, command[0].c_str(), &actions, nullptr,
                               testsupport::Pointers(command).data(),
                               testsupport::Pointers(i_environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        i_pid = -1;
        throw std::runtime_error("cannot start " + command[0] + ": " + strerror(rc));
    }
}

std::optional<Call> LockstepTool::next() {
    // If the signal arrives between the load and the wait, the changed word ends the wait at once.
    timespec before = {};
    clock_gettime(CLOCK_MONOTONIC, &before);
    uint32_t turn = i_turns->turn.load(std::memory_order_acquire);
    while (turn == e_ToolsTurn && !i_hung) {
        FutexWait(i_turns->turn, e_ToolsTurn, &HANG_LIMIT);
        turn = i_turns->turn.load(std::memory_order_acquire);
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        i_hung = turn == e_ToolsTurn && now.tv_sec - before.tv_sec >= HANG_LIMIT.tv_sec;
    }
    if (turn == e_FarSidesTurn) {
        return i_turns->call;
    }
    return std::nullopt;
}

void LockstepTool::proceed(int64_t now) {
    i_turns->now = now;
    i_turns->turn.store(e_ToolsTurn, std::memory_order_release);
    FutexWake(i_turns->turn);
}

ToolEnd LockstepTool::end() {
    if (i_hung) {
        kill(i_pid, SIGKILL);
    }
    int status = 0;
    while (waitpid(i_pid, &status, 0) < 0 && errno == EINTR) {
    }
    i_pid = -1;
    ToolEnd end = {testsupport::ResultOf(status), i_hung};
    end.out = Contents(i_outFile);
    end.err = Contents(i_errFile);
    return end;
}

}  // namespace campaign
