#include "companions/operator/run/mailboxlook.h"

#include "link/mailbox.h"
#include "memory/cardview.h"

namespace run {

bool MailboxLook::controllerPresent() const {
    return sendState != STATE_ABSENT;
}

bool MailboxLook::directionUp() const {
    return receiveState != STATE_ABSENT;
}

bool MailboxLook::answerUnread() const {
    return receiveFlag == RX_BYTE_OFFERED;
}

MailboxLook LookAtMailbox() {
    MailboxLook look;
    const CardView card;
    if (!card.failure().empty()) {
        look.failure = card.missing() ? "" : card.failure();
        return look;
    }
    const auto byte = [&](unsigned address) {
        const std::optional<uint32_t> word = card.mailboxWord(address);
        if (!word) {
            look.failure = "a word of the mailbox can't be read";
        }
        return static_cast<unsigned char>(word.value_or(0));
    };
    look.host = card.host();
    look.receiveFlag = byte(MAILBOX_RX_FLAG);
    look.receiveState = byte(MAILBOX_RX_STATE);
    look.sendState = byte(MAILBOX_TX_STATE);
    look.revision = byte(MAILBOX_REVISION_HIGH) * 256U + byte(MAILBOX_REVISION_LOW);
    return look;
}

}  // namespace run
