#include "tests/support/recordingmailbox.h"

#include "link/mailbox.h"

namespace testsupport {

unsigned char RecordingMailbox::readAddress(unsigned int address) {
    if (beforeRead) {
        beforeRead(address);
    }
    record("R" + std::to_string(address));
    return bytes.at(address);
}

void RecordingMailbox::writeAddress(unsigned int address, unsigned char value) {
    record("W" + std::to_string(address) + "=" + std::to_string(value));
    bytes.at(address) = value;
    if (afterWrite) {
        afterWrite(address);
    }
}

std::string RecordingMailbox::takeAccesses() {
    std::string accesses;
    accesses.swap(i_accesses);
    return accesses;
}

void RecordingMailbox::record(const std::string& access) {
    i_accesses += (i_accesses.empty() ? "" : " ") + access;
}

EagerFarSide::EagerFarSide(RecordingMailbox& mailbox) : i_mailbox(mailbox) {
    mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
    mailbox.bytes[MAILBOX_TX_STATE] = STATE_READY;
    mailbox.beforeRead = [this](unsigned int address) {
        if (address == MAILBOX_RX_FLAG) {
            offer();
        }
    };
    mailbox.afterWrite = [this](unsigned int address) {
        if (address == MAILBOX_TX_FLAG && i_mailbox.bytes[address] == TX_BYTE_OFFERED) {
            take();
        }
    };
}

void EagerFarSide::offer() {
    if (!toHost.empty() && i_mailbox.bytes[MAILBOX_RX_FLAG] != RX_BYTE_OFFERED) {
        i_mailbox.bytes[MAILBOX_RX_DATA] = static_cast<unsigned char>(toHost.front());
        i_mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
        toHost.erase(0, 1);
    }
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
