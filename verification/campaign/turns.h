#pragma once

#include <atomic>
#include <cstdint>

/**
 * The memory that the tool and the far side share in a lockstep run: whose turn it is, the tool's
 * next call, and the time.
 *
 * The library liblockstep.so is preloaded into the tool. It hands over the turn before each reading
 * of the clock, each sleep, each log line and, on request, each lock. Then it waits for the tool's
 * turn. So only one side runs at any moment, and only the far side advances the time.
 *
 * The memory is an anonymous file. The tool inherits its descriptor, and LOCKSTEP_VARIABLE has the
 * descriptor's number. Without the variable, or in a program not named LOCKSTEP_PROGRAM, the
 * library does nothing.
 */
namespace campaign {

constexpr const char* LOCKSTEP_VARIABLE = "TOLMIRA_LOCKSTEP";
constexpr const char* LOCKSTEP_PROGRAM = "tolmira_upgrade";

/** Futex word: the side whose turn it is not waits on it. */
enum Turn : uint32_t { e_ToolsTurn, e_FarSidesTurn, e_ToolEnded };

enum class Call : uint32_t { Clock, Sleep, Line, Lock };

struct Turns {
    std::atomic<uint32_t> turn;
    /** Valid during the far side's turn. */
    Call call;
    /** Microseconds since the epoch. Only the far side writes it. */
    int64_t now;
    /** Hand over the turn before each lock too. Each access to the mailbox takes one. */
    bool atLocks;
    /** The number of locks so far. */
    uint64_t locks;
    /** The tool is killed before this lock, counted from 1; 0: never. */
    uint64_t killAtLock;
};

}  // namespace campaign
