#include "bench/barehost.h"

#include <atomic>

#include "link/mailbox.h"

namespace bench {

namespace {

void Await(const volatile uint32_t& word, uint32_t value, unsigned rest) {
    while (word != value) {
        for (unsigned turn = 0; turn < rest; ++turn) {
            asm volatile("");
        }
    }
    std::atomic_thread_fence(std::memory_order_acquire);
}

void Store(volatile uint32_t& word, uint32_t value) {
    std::atomic_thread_fence(std::memory_order_release);
    word = value;
}

void Send(volatile uint32_t* mailbox, const Frame& frame, unsigned rest) {
    for (const unsigned char byte : frame) {
        mailbox[MAILBOX_TX_DATA] = byte;
        Store(mailbox[MAILBOX_TX_FLAG], TX_BYTE_OFFERED);
        Await(mailbox[MAILBOX_TX_FLAG], TX_BYTE_TAKEN, rest);
    }
}

void ReceiveAnswer(volatile uint32_t* mailbox, unsigned rest) {
    volatile unsigned char answer[9];
    for (volatile unsigned char& byte : answer) {
        Await(mailbox[MAILBOX_RX_FLAG], RX_BYTE_OFFERED, rest);
        byte = static_cast<unsigned char>(mailbox[MAILBOX_RX_DATA]);
        Store(mailbox[MAILBOX_RX_FLAG], RX_BYTE_TAKEN);
    }
}

}  // namespace

void SendUpgrade(volatile uint32_t* mailbox, const std::vector<Frame>& frames, unsigned rest) {
    mailbox[MAILBOX_TX_STATE] = STATE_READY;
    mailbox[MAILBOX_RX_STATE] = STATE_REQUESTED;
    Await(mailbox[MAILBOX_RX_STATE], STATE_READY, 0);
    for (const Frame& frame : frames) {
        Send(mailbox, frame, rest);
        if (frame.size() == PAGE_LENGTH) {
            ReceiveAnswer(mailbox, rest);
        }
    }
}

}  // namespace bench
