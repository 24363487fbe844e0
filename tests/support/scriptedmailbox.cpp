#include "tests/support/scriptedmailbox.h"

#include <algorithm>

#include "link/mailbox.h"

namespace testsupport {

unsigned char MemoryMailbox::readAddress(unsigned int address) {
    if (beforeRead) {
        beforeRead(address);
    }
    return bytes.at(address);
}

void MemoryMailbox::writeAddress(unsigned int address, unsigned char value) {
    bytes.at(address) = value;
    if (afterWrite) {
        afterWrite(address);
    }
}

bool MemoryMailbox::isReset() const {
    return std::all_of(bytes.begin() + MAILBOX_RX_DATA, bytes.begin() + MAILBOX_TX_STATE + 1,
                       [](unsigned char byte) { return byte == 0; });
}

unsigned char RecordingMailbox::readAddress(unsigned int address) {
    record("R" + std::to_string(address));
    return MemoryMailbox::readAddress(address);
}

void RecordingMailbox::writeAddress(unsigned int address, unsigned char value) {
    record("W" + std::to_string(address) + "=" + std::to_string(value));
    MemoryMailbox::writeAddress(address, value);
}

std::string RecordingMailbox::takeAccesses() {
    std::string accesses;
    accesses.swap(i_accesses);
    return accesses;
}

void RecordingMailbox::record(const std::string& access) {
    i_accesses += (i_accesses.empty() ? "" : " ") + access;
}

EagerFarSide::EagerFarSide(MemoryMailbox& mailbox) : i_mailbox(mailbox) {
    mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
    mailbox.bytes[MAILBOX_TX_STATE] = STATE_READY;
    mailbox.beforeRead = [this](unsigned int address) {
        if (address == MAILBOX_RX_FLAG) {
            poll();
        }
    };
    mailbox.afterWrite = [this](unsigned int address) {
        if (address == MAILBOX_TX_FLAG && i_mailbox.bytes[address] == TX_BYTE_OFFERED) {
            take();
        }
    };
}

void EagerFarSide::poll() {
    if (onPoll) {
        onPoll();
    }
    if (i_mailbox.bytes[MAILBOX_RX_FLAG] == RX_BYTE_OFFERED || position == toHost.size()) {
        return;
    }
    if (position == lateByte && latePolls != 0) {
        --latePolls;
        return;
    }
    i_mailbox.bytes[MAILBOX_RX_DATA] = static_cast<unsigned char>(toHost[position++]);
    i_mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
}

void EagerFarSide::take() {
    if (fromHost.size() >= takes) {
        return;
    }
    fromHost.push_back(static_cast<char>(i_mailbox.bytes[MAILBOX_TX_DATA]));
    i_mailbox.bytes[MAILBOX_TX_FLAG] = TX_BYTE_TAKEN;
    if (onByte) {
        onByte();
    }
}

}  // namespace testsupport
