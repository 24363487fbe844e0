#include "companions/operator/status/snapshot.h"

#include "link/mailbox.h"
#include "memory/cardview.h"

namespace status {

namespace {

constexpr uint32_t BYTE = 0xFF;

constexpr char SHRUNK[] =
    "shared memory /resource0 became shorter while it was read; check /dev/shm";

constexpr unsigned ADDRESSES[] = {
    MAILBOX_RX_DATA, MAILBOX_RX_FLAG,  MAILBOX_RX_STATE,     MAILBOX_TX_DATA,
    MAILBOX_TX_FLAG, MAILBOX_TX_STATE, MAILBOX_REVISION_LOW, MAILBOX_REVISION_HIGH,
};

}  // namespace

unsigned char Snapshot::byte(unsigned address) const {
    const auto word = words.find(address);
    return word == words.end() ? 0 : static_cast<unsigned char>(word->second);
}

bool Snapshot::present() const {
    return byte(MAILBOX_TX_STATE) != STATE_ABSENT;
}

unsigned Snapshot::revision() const {
    return byte(MAILBOX_REVISION_HIGH) * 256U + byte(MAILBOX_REVISION_LOW);
}

bool Snapshot::directionUp() const {
    return byte(MAILBOX_RX_STATE) != STATE_ABSENT;
}

bool Snapshot::answerUnread() const {
    return byte(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED;
}

std::map<unsigned, uint32_t> Snapshot::upperBits() const {
    std::map<unsigned, uint32_t> bits;
    for (const auto& [address, word] : words) {
        if ((word & ~BYTE) != 0) {
            bits[address] = word & ~BYTE;
        }
    }
    return bits;
}

Snapshot TakeSnapshot() {
    Snapshot snapshot;
    const CardView card;
    snapshot.failure = card.failure();
    snapshot.missing = card.missing();
    if (!snapshot.failure.empty()) {
        return snapshot;
    }
    snapshot.host = card.host();
    for (const unsigned address : ADDRESSES) {
        const std::optional<uint32_t> word = card.mailboxWord(address);
        if (!word) {
            snapshot.failure = SHRUNK;
            snapshot.words.clear();
            return snapshot;
        }
        snapshot.words[address] = *word;
    }
    // A host that was not seen above may have written what was read.
    snapshot.host = snapshot.host ? snapshot.host : card.host();
    return snapshot;
}

}  // namespace status
