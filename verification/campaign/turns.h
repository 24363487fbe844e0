#pragma once

#include <atomic>
#include <cstdint>

/**
 * What the tool and the far side share in a run in lockstep: whose turn it is, what the tool is
 * about to do, and the time.
 *
 * The library liblockstep.so, preloaded into the tool, hands over the turn in front of each reading
 * of the clock, each sleep and each line of log, and if asked to of each lock, and waits until it
 * is the tool's turn again. So only one of the two sides runs at any moment, and the time stands
 * still but for what the far side does to it.
 *
 * The memory is an anonymous file; its descriptor is inherited, and its number is the value of
 * LOCKSTEP_VARIABLE. Without the variable, or in a program of another name than LOCKSTEP_PROGRAM,
 * the library does nothing at all.
 */
namespace campaign {

constexpr const char* LOCKSTEP_VARIABLE = "TOLMIRA_LOCKSTEP";
constexpr const char* LOCKSTEP_PROGRAM = "tolmira_upgrade";

/** The word that the side waits on which has not got the turn. */
enum Turn : uint32_t { e_ToolsTurn, e_FarSidesTurn, e_ToolEnded };

enum class Call : uint32_t { Clock, Sleep, Line, Lock };

struct Turns {
    std::atomic<uint32_t> turn;
    /** Valid in the far side's turn. */
    Call call;
    /** Microseconds since the epoch; written by the far side alone. */
    int64_t now;
    /** The turn is handed over in front of each lock too: each access to the mailbox takes one. */
    bool atLocks;
    /** The locks so far. */
    uint64_t locks;
    /** The tool is killed in front of this lock, counted from 1; 0: never. */
    uint64_t killAtLock;
};

}  // namespace campaign
