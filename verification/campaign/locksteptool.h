#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "verification/campaign/turns.h"

namespace campaign {

/** How a run of the tool ended, and its output. */
struct ToolEnd : testsupport::ChildResult {
    /** Killed, since it made no call for too long in real time. */
    bool hung = false;
};

/**
 * Runs the built tool in lockstep with the caller, one process after another. The tool is started
 * directly or by another program.
 *
 * SIGCHLD signals the tool's end, so the process that owns this object must not have other children
 * or a second such object. One thread.
 */
class LockstepTool {
  public:
    /** `library` is the path of liblockstep.so. Throws std::runtime_error on failure. */
    explicit LockstepTool(const std::string& library);
    ~LockstepTool();
    LockstepTool(const LockstepTool&) = delete;
    LockstepTool& operator=(const LockstepTool&) = delete;

    /** What happens when the tool takes a lock. */
    struct AtLocks {
        /** `next` returns each lock. */
        bool turn = false;
        /** The tool is killed before this lock, counted from 1; 0: never. */
        uint64_t kill = 0;
    };
    /** The first word of the command is the program's path. */
    void start(std::vector<std::string> command, const std::string& directory,
               const AtLocks& atLocks);
    /** Waits for the tool's next call. No value if the tool has ended or hangs. */
    std::optional<Call> next();
    /** Returns the turn to the tool. `now`: microseconds since the epoch. */
    void proceed(int64_t now);
    /** Call it when `next` has returned no value. */
    ToolEnd end();

    uint64_t locks() const { return i_turns->locks; }

  private:
    void makeEnvironment(const std::string& library);

    std::vector<std::string> i_environment;
    int i_turnsFile;
    int i_outFile;
    int i_errFile;
    Turns* i_turns;
    pid_t i_pid = -1;
    bool i_hung = false;
};

}  // namespace campaign
