#pragma once

#include <cstdint>
#include <map>
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

    unsigned char byte(unsigned address) const {
        return static_cast<unsigned char>(words.at(address));
    }
    bool present() const;
    unsigned revision() const;
    /** The bits above the byte, of those words that have any. */
    std::map<unsigned, uint32_t> upperBits() const;
};

/**
 * Looks. The object is opened anew each time, for reading alone, and never made; so one that
 * appears, goes or is replaced is noticed.
 */
Snapshot Look();

}  // namespace status
