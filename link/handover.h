#pragma once

#include <ctime>

#include "cpputils/include/clock.h"
#include "link/mailbox.h"
#include "link/routercomms.h"

// The hand-over of bytes from the host to the controller. If `Comms` is a final class, the compiler
// inlines every access; if it is the interface, each access is a virtual call.

constexpr time_t SEND_LIMIT_SECONDS = 2;

/**
 * Polls a flag without pausing. Returns true when it holds `wanted`, and false after a timeout:
 * when more than `limit` whole seconds of the wall clock have passed, the flag is read one last
 * time, and a match on that read is too late.
 */
template <typename Comms>
bool WaitForFlag(Comms& comms, unsigned int address, unsigned char wanted, time_t limit) {
    const time_t start = Clock::instance().secondsNow();
    bool timedOut = false;
    for (;;) {
        const bool matches = comms.readAddress(address) == wanted;
        if (matches || timedOut) {
            return !timedOut;
        }
        timedOut = Clock::instance().secondsNow() - start > limit;
    }
}

/** Hands over one byte; RouterCommWriter describes the failures. */
template <typename Comms>
[[nodiscard]] bool HandOverByte(Comms& comms, unsigned char byte) {
    if (comms.readAddress(MAILBOX_TX_STATE) == STATE_REQUESTED) {
        comms.writeAddress(MAILBOX_TX_STATE, STATE_READY);
    }
    if (comms.readAddress(MAILBOX_TX_STATE) != STATE_READY) {
        return false;
    }
    comms.writeAddress(MAILBOX_TX_DATA, byte);
    comms.writeAddress(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
    if (!WaitForFlag(comms, MAILBOX_TX_FLAG, TX_BYTE_TAKEN, SEND_LIMIT_SECONDS)) {
        ResetMailbox(comms);
        return false;
    }
    return true;
}

/** Hands over `count` bytes, up to the first that fails. */
template <typename Comms>
[[nodiscard]] bool HandOver(Comms& comms, const unsigned char* bytes, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        if (!HandOverByte(comms, bytes[i])) {
            return false;
        }
    }
    return true;
}
