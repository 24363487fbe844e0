#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace status {

/**
 * One look at the mailbox. The words are read one after the other while both sides may write, so
 * two of them need not belong to the same moment.
 */
struct Snapshot {
    /** Why the words can't be read; empty if they were. */
    std::string failure;
    /** The mailbox's words by their addresses. */
    std::map<unsigned, uint32_t> words;
    /** The host that is at work; 0 if its process id is of another namespace. */
    std::optional<pid_t> host;

    unsigned char byte(unsigned address) const {
        return static_cast<unsigned char>(words.at(address));
    }
    bool present() const;
    unsigned revision() const;
    /** A run was killed, and the next one can take an unread answer of it for its own. */
    bool leftByAKilledRun() const;
    /** The bits above the byte, of those words that have any. */
    std::map<unsigned, uint32_t> upperBits() const;
};

/**
 * Looks. The object is opened anew each time, for reading alone, and never made; so one that
 * appears, goes or is replaced is noticed.
 */
Snapshot Look();

}  // namespace status
