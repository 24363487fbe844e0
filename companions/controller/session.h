#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "companions/controller/conversation.h"
#include "companions/controller/journal.h"
#include "companions/controller/mailboxport.h"

namespace controller {

/** How the controller behaves at the mailbox. */
struct Manners {
    uint16_t revision = 0;
    /** Reported from the first completed upgrade on. */
    uint16_t newRevision = 0;
    /** Whether both directions are brought up again when the host has reset the mailbox. */
    bool rearm = true;
};

/**
 * The far side of the mailbox: presence, the two directions, and single bytes both ways.
 *
 *     clear -> announce -> armed <-> receive direction up, while a host asks for it
 *                            |
 *                            +-- the host resets the mailbox: armed again, or dead
 *
 * It never waits: `poll` looks once at each word that the host may have changed and does what
 * follows from that. Whoever calls it keeps the time and tells it through `idle`.
 *
 * All that a byte of the host leads to is done before the byte is acknowledged. So a host that has
 * sent its last byte finds the new revision in the mailbox, however soon it looks.
 *
 * Borrows the conversation and the journal. One thread.
 */
class Session {
  public:
    /** `onUpgraded` runs when an upgrade is complete, in front of the new revision. */
    Session(MailboxPort port, Conversation& conversation, Journal& journal, const Manners& manners,
            std::function<void()> onUpgraded);

    /** Takes what an earlier run left out of the mailbox, presence first. */
    void clear();
    /** Writes the revision, then says that the controller is there. */
    void announce();
    /** One look at the mailbox. True if there was anything to do. */
    bool poll();
    /** Says that no look has found anything for this long; late consequences are drawn here. */
    void idle(std::chrono::milliseconds quiet);
    /** The end: what a host began and did not end is noted. */
    void finish();
    /** Says that the controller is absent; all else stays in the mailbox as it is. */
    void withdraw();

    /** True once a host has come and gone, or the mailbox was reset for good. */
    bool over() const { return i_over; }
    unsigned resets() const { return i_resets; }
    uint16_t revision() const { return i_revision; }

  private:
    void writeRevision(uint16_t revision);
    bool reset();
    bool followReceiveState(unsigned char state);
    void welcomeHost();
    void takeByte();
    bool offerByte();
    void dropAnswers();

    MailboxPort i_port;
    Conversation& i_conversation;
    Journal& i_journal;
    Manners i_manners;
    std::function<void()> i_onUpgraded;

    uint16_t i_revision = 0;
    bool i_armed = false;
    bool i_receiveUp = false;
    /** The host has let the receive direction go; the rest of a reset may still follow. */
    bool i_closing = false;
    /** Nothing has been offered since the receive direction came up. */
    bool i_directionNew = true;
    bool i_over = false;
    unsigned i_resets = 0;

    std::vector<uint8_t> i_answer;
    size_t i_offered = 0;
};

}  // namespace controller
