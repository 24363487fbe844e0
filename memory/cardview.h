#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "link/mailbox.h"

/**
 * The card's address space as other programs share it, for reading alone. The object is opened and
 * never made, resized or mapped: a word is read with pread, which can fail but can't end the
 * process where memory is short.
 *
 * Opening doesn't wait, whatever has the object's name; only a regular file is read.
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
    /** The failure is that there is no object of this name. */
    bool missing() const { return i_missing; }

    /**
     * The word at a byte offset that is a multiple of four. No value if the object isn't open or
     * ends before it.
     */
    std::optional<uint32_t> word(std::size_t offset) const;
    std::optional<uint32_t> mailboxWord(unsigned address) const {
        return word(MAILBOX_OFFSET + std::size_t{4} * address);
    }

    /** The holder of the host's or the controller's lock, as HostOf() and ControllerOf() have it.
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
