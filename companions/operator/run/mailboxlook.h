#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace run {

/**
 * One look at the mailbox, which neither maps nor changes it. The bytes are read one after the
 * other while both sides may write.
 */
struct MailboxLook {
    /** Why the mailbox can't be read; empty if it was, or if there is none yet. */
    std::string failure;
    /** A process that holds the host's lock, 0 for one of another pid namespace. */
    std::optional<pid_t> host;
    unsigned char receiveFlag = 0;
    unsigned char receiveState = 0;
    unsigned char sendState = 0;
    unsigned revision = 0;

    bool controllerPresent() const;
    bool directionUp() const;
    bool answerUnread() const;
    /** Whether the last host has left it as a host does that ends by itself. */
    bool inOrder() const { return !directionUp() && !answerUnread(); }
};

MailboxLook LookAtMailbox();

}  // namespace run
