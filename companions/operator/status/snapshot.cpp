#include "companions/operator/status/snapshot.h"

#include "companions/registers/velnor_regs/failure.h"
#include "companions/registers/velnor_regs/liveregion.h"
#include "companions/simulator/controller/mailboxport.h"
#include "link/mailbox.h"

namespace status {

namespace {

constexpr uint32_t BYTE = 0xFF;

constexpr unsigned ADDRESSES[] = {
    MAILBOX_RX_DATA, MAILBOX_RX_FLAG,  MAILBOX_RX_STATE,     MAILBOX_TX_DATA,
    MAILBOX_TX_FLAG, MAILBOX_TX_STATE, MAILBOX_REVISION_LOW, MAILBOX_REVISION_HIGH,
};

}  // namespace

bool Snapshot::present() const {
    return byte(MAILBOX_TX_STATE) != STATE_ABSENT;
}

unsigned Snapshot::revision() const {
    return byte(MAILBOX_REVISION_HIGH) * 256U + byte(MAILBOX_REVISION_LOW);
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

Snapshot Look() {
    Snapshot snapshot;
    try {
        const regs::LiveRegion region(false);
        const auto* mailbox = reinterpret_cast<const uint32_t*>(
            static_cast<const char*>(region.base()) + controller::MAILBOX_OFFSET);
        for (const unsigned address : ADDRESSES) {
            snapshot.words[address] = __atomic_load_n(mailbox + address, __ATOMIC_ACQUIRE);
        }
    } catch (const regs::Failure& failure) {
        snapshot.failure = failure.what();
    }
    return snapshot;
}

}  // namespace status
