#include "companions/controller/session.h"

#include <string>
#include <utility>

#include "link/mailbox.h"

namespace controller {

namespace {

/** A reset takes the host microseconds; this long after its first sign it was no reset. */
constexpr std::chrono::milliseconds RESET_TIME{50};

/** A host that is in the middle of a message gives the next byte at once or never. */
constexpr std::chrono::milliseconds MESSAGE_TIME{2000};

}  // namespace

Session::Session(MailboxPort port, Conversation& conversation, Journal& journal,
                 const Manners& manners, std::function<void()> onUpgraded)
    : i_port(port),
      i_conversation(conversation),
      i_journal(journal),
      i_manners(manners),
      i_onUpgraded(std::move(onUpgraded)) {}

void Session::clear() {
    for (unsigned int address = MAILBOX_TX_STATE; address >= MAILBOX_RX_DATA; --address) {
        i_port.write(address, 0);
    }
}

void Session::writeRevision(uint16_t revision) {
    i_revision = revision;
    i_port.write(MAILBOX_REVISION_LOW, static_cast<unsigned char>(revision));
    i_port.write(MAILBOX_REVISION_HIGH, static_cast<unsigned char>(revision >> 8));
}

void Session::announce() {
    writeRevision(i_manners.revision);
    i_port.write(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_armed = true;
    i_journal.event("announced, revision " + std::to_string(i_revision));
}

bool Session::poll() {
    // In the reverse of the host's order of writing, so that no byte is seen without the state in
    // front of it.
    const unsigned char flag = i_port.read(MAILBOX_TX_FLAG);
    const unsigned char receiveState = i_port.read(MAILBOX_RX_STATE);
    if (i_port.read(MAILBOX_TX_STATE) == STATE_ABSENT) {
        return reset();
    }
    bool active = followReceiveState(receiveState);
    if (flag == TX_BYTE_OFFERED) {
        takeByte();
        active = true;
    }
    return offerByte() || active;
}

bool Session::reset() {
    if (!i_armed) {
        return false;
    }
    ++i_resets;
    i_journal.finding("the host has reset the mailbox");
    i_conversation.breakOff("mailbox reset");
    dropAnswers();
    i_closing = false;
    i_armed = i_manners.rearm;
    i_receiveUp = i_manners.rearm;
    i_over = !i_manners.rearm;
    if (i_manners.rearm) {
        i_port.write(MAILBOX_RX_STATE, STATE_READY);
        i_port.write(MAILBOX_TX_STATE, STATE_REQUESTED);
    }
    return true;
}

bool Session::followReceiveState(unsigned char state) {
    if (state == STATE_REQUESTED) {
        welcomeHost();
        return true;
    }
    if (state == STATE_ABSENT && i_receiveUp) {
        i_receiveUp = false;
        i_closing = true;
        return true;
    }
    return false;
}

void Session::welcomeHost() {
    i_journal.trace("host asks for the receive direction");
    i_conversation.breakOff("another host has come");
    i_conversation.close();
    dropAnswers();
    i_closing = false;
    i_receiveUp = true;
    i_port.write(MAILBOX_RX_STATE, STATE_READY);
}

void Session::dropAnswers() {
    i_answer.clear();
    i_offered = 0;
    i_directionNew = true;
    // A byte that nobody took would be the first one of the next answer.
    if (i_port.read(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED) {
        i_port.write(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    }
}

void Session::takeByte() {
    const Outcome outcome = i_conversation.take(i_port.read(MAILBOX_TX_DATA));
    if (outcome.answer) {
        const std::vector<uint8_t>& bytes = outcome.answer->bytes;
        i_answer.insert(i_answer.end(), bytes.begin(), bytes.end());
    }
    if (outcome.upgraded) {
        i_onUpgraded();
        writeRevision(i_manners.newRevision);
        i_journal.event("reports revision " + std::to_string(i_revision));
    }
    i_port.write(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
}

bool Session::offerByte() {
    if (i_answer.empty() || !i_receiveUp) {
        return false;
    }
    if (!i_directionNew && i_port.read(MAILBOX_RX_FLAG) != RX_BYTE_TAKEN) {
        return false;
    }
    i_port.write(MAILBOX_RX_DATA, i_answer[i_offered]);
    i_port.write(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
    i_directionNew = false;
    if (++i_offered == i_answer.size()) {
        i_answer.clear();
        i_offered = 0;
    }
    return true;
}

void Session::idle(std::chrono::milliseconds quiet) {
    if (i_closing && quiet >= RESET_TIME) {
        i_closing = false;
        i_over = true;
        i_journal.trace("host has closed the receive direction");
        finish();
    }
    if (quiet >= MESSAGE_TIME) {
        i_conversation.breakOff("no more bytes");
    }
}

void Session::withdraw() {
    i_port.write(MAILBOX_TX_STATE, STATE_ABSENT);
    i_armed = false;
}

void Session::finish() {
    i_conversation.breakOff("the end");
    i_conversation.close();
}

}  // namespace controller
