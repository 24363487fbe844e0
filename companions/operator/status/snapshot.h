#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace status {

/**
 * A snapshot of the mailbox. The words are read one after the other while both sides may write, so
 * they need not belong to the same moment. After a failure all of them are 0.
 */
struct Snapshot {
    /** Why the words can't be read; empty if they were. */
    std::string failure;
    /** The failure is that the object doesn't exist yet. */
    bool missing = false;
    /** The mailbox's words by their addresses. */
    std::map<unsigned, uint32_t> words;
    /** Process id of the host at work, 0 in another pid namespace; no value without a host. */
    std::optional<pid_t> host;

    unsigned char byte(unsigned address) const;
    /** Whether a controller is present. */
    bool present() const;
    unsigned revision() const;
    /** Whether the receive direction is not off. */
    bool directionUp() const;
    /** Whether a byte of the controller was offered and not taken. */
    bool answerUnread() const;
    /** Whether the mailbox is as a host leaves it when it ends by itself. */
    bool inOrder() const { return !directionUp() && !answerUnread(); }
    /** Whether a run was killed, so that the next one could take an unread answer for its own. */
    bool leftByAKilledRun() const { return !host && !inOrder(); }
    /** Bits 8 to 31 of the words that have any set. */
    std::map<unsigned, uint32_t> upperBits() const;
};

/**
 * Reads the mailbox. The object is opened each time, read-only, and never created, so an object
 * that appears, disappears or is replaced is noticed.
 */
Snapshot TakeSnapshot();

}  // namespace status
