#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "link/mailbox.h"

/**
 * Read-only access to the card's address space as other programs share it. The object is opened but
 * never created, resized or mapped. A word is read with pread, which fails if memory is short; an
 * access through a mapping would end the process.
 *
 * Opening never waits, even if the name belongs to something else, and only a regular file is read.
 */
class CardView {
  public:
    static constexpr char NAME[] = "/resource0";

    explicit CardView(const std::string& name = NAME);
    ~CardView();
    CardView(const CardView&) = delete;
    CardView& operator=(const CardView&) = delete;

    /** Why nothing can be read, and what to do, in one line; empty if the object is open. */
    const std::string& failure() const { return i_failure; }
    /** True if the failure is that no object has this name. */
    bool missing() const { return i_missing; }

    /**
     * The word at a byte offset that is a multiple of four. No value if the object isn't open or
     * ends before it.
     */
    std::optional<uint32_t> word(std::size_t offset) const;
    std::optional<uint32_t> mailboxWord(unsigned address) const {
        return word(MAILBOX_OFFSET + std::size_t{4} * address);
    }

    /**
     * The holder of the host's or the controller's lock, as HostOf() and ControllerOf() return it.
     */
    std::optional<pid_t> host() const;
    std::optional<pid_t> controller() const;

  private:
    void open(const std::string& name);
    void fail(const std::string& name, const std::string& why);

    int i_fd = -1;
    bool i_missing = false;
    std::string i_failure;
};
