#include "verification/fuzz/scriptedmailbox.h"

#include <sys/time.h>

#include <algorithm>
#include <ctime>

#include "link/mailbox.h"

namespace {

/** Of the one mailbox; 0 without one. */
time_t pretendedSeconds = 0;

}  // namespace

// In front of the C library's, for the whole program.
extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept {
    timespec real = {};
    clock_gettime(CLOCK_REALTIME, &real);
    *time = {pretendedSeconds != 0 ? pretendedSeconds : real.tv_sec, 0};
    return 0;
}

namespace fuzzing {

ScriptedMailbox::ScriptedMailbox() {
    pretendedSeconds = 1;
    i_bytes[MAILBOX_RX_STATE] = STATE_READY;
    i_bytes[MAILBOX_TX_STATE] = STATE_READY;
}

ScriptedMailbox::~ScriptedMailbox() {
    pretendedSeconds = 0;
}

unsigned char ScriptedMailbox::readAddress(unsigned int address) {
    if (address == MAILBOX_RX_FLAG) {
        ++pretendedSeconds;
        offer();
    }
    return i_bytes.at(address);
}

void ScriptedMailbox::offer() {
    if (i_bytes[MAILBOX_RX_FLAG] == RX_BYTE_OFFERED || position == toHost.size()) {
        return;
    }
    if (position == lateByte && latePolls != 0) {
        --latePolls;
        return;
    }
    i_bytes[MAILBOX_RX_DATA] = static_cast<unsigned char>(toHost[position++]);
    i_bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
}

void ScriptedMailbox::writeAddress(unsigned int address, unsigned char value) {
    i_bytes.at(address) = value;
    if (address == MAILBOX_TX_FLAG && value == TX_BYTE_OFFERED) {
        fromHost.push_back(static_cast<char>(i_bytes[MAILBOX_TX_DATA]));
        i_bytes[MAILBOX_TX_FLAG] = TX_BYTE_TAKEN;
        if (onByte) {
            onByte();
        }
    }
}

bool ScriptedMailbox::isReset() const {
    return std::all_of(i_bytes.begin() + MAILBOX_RX_DATA, i_bytes.begin() + MAILBOX_TX_STATE + 1,
                       [](unsigned char byte) { return byte == 0; });
}

}  // namespace fuzzing
