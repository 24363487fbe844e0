#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "verification/campaign/turns.h"

namespace campaign {

/** How a tool ended, and what it wrote. */
struct ToolEnd {
    /** -1 where a signal ended it. */
    int exitValue = -1;
    int signal = 0;
    /** It did nothing for so long in real time that it was killed. */
    bool hung = false;
    std::string out;
    std::string err;
};

/**
 * The built tool, run in lockstep with the caller: again and again, one process at a time, by
 * itself or through a program that starts it.
 *
 * The process that holds this object must have no other children, since it learns of the tool's end
 * through SIGCHLD; and one such object at a time. One thread.
 */
class LockstepTool {
  public:
    /** `library` is the path of liblockstep.so. Throws std::runtime_error on failure. */
    explicit LockstepTool(const std::string& library);
    ~LockstepTool();
    LockstepTool(const LockstepTool&) = delete;
    LockstepTool& operator=(const LockstepTool&) = delete;

    /** What becomes of the tool at the locks that it takes. */
    struct AtLocks {
        /** `next` tells of each. */
        bool turn = false;
        /** It is killed in front of this one, from 1 on; 0: never. */
        uint64_t kill = 0;
    };
    /** The command's first word is the program. */
    void start(std::vector<std::string> command, const std::string& directory,
               const AtLocks& atLocks);
    /** Waits for what the tool does next; no value: it has ended, or hangs. */
    std::optional<Call> next();
    /** Gives the turn back, at this time: microseconds since the epoch. */
    void proceed(int64_t now);
    /** To be called when `next` had no value. */
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
