#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/faultplan.h"
#include "companions/simulator/controller/mailboxport.h"
#include "companions/simulator/controller/outbox.h"

namespace controller {

/** How the controller behaves at the mailbox. */
struct Behaviour {
    uint16_t revision = 0;
    /** Reported from the first completed upgrade on. */
    uint16_t newRevision = 0;
    /** Whether both directions are brought up again when the host has reset the mailbox. */
    bool rearm = true;
    /** Whether answers that no host has read outlive the next host's request for the direction. */
    bool keepsAnswers = false;
};

/**
 * The far side of the mailbox: presence, the two directions, and single bytes both ways.
 *
 *     clear -> announce -> armed <-> receive direction up, while a host asks for it
 *                            |
 *                            +-- the host resets the mailbox: armed again, or down for good
 *
 * It never waits: `poll` looks once at each word that the host may have changed and does what
 * follows from that. Whoever calls it keeps the time, and tells it through `idle` of silence. What
 * it does depends on the mailbox, the calls and the times alone.
 *
 * All that a byte of the host leads to is done before the byte is acknowledged. So a host that has
 * sent its last byte finds the new revision in the mailbox, however soon it looks.
 *
 * The plan says where it is to go wrong. A dead controller touches nothing any more.
 *
 * Borrows the conversation, the plan and the event log. One thread.
 */
class Session {
  public:
    using Time = std::chrono::milliseconds;

    /** `onUpgraded` runs when an upgrade is complete, in front of the new revision. */
    Session(MailboxPort port, Conversation& conversation, FaultPlan& plan, EventLog& events,
            const Behaviour& behaviour, std::function<void()> onUpgraded);

    /** Takes what an earlier run left out of the mailbox, presence first. */
    void clear();
    /** Writes the revision, then says that the controller is there. */
    void announce();
    /**
     * One look at the mailbox. True if there was anything to do: look again. `now` counts from any
     * start and never goes back; a faultless controller doesn't look at it.
     */
    bool poll(Time now);
    /** When a look will find something to do though the host does nothing; none if never. */
    std::optional<Time> due() const;
    /** Says that no look has found anything for this long; late consequences are drawn here. */
    void idle(Time quiet);
    /** The end: what a host began and did not end is noted. */
    void finish();
    /** Says that the controller is absent; all else stays in the mailbox as it is. */
    void withdraw();

    /** True once a host has come and gone, the mailbox was reset for good, or death came. */
    bool finished() const { return i_finished || dead(); }
    unsigned resets() const { return i_resets; }
    uint16_t revision() const { return i_revision; }

  private:
    void writeRevision(uint16_t revision);
    bool reset();
    bool bringUp();
    void disarm();
    bool followReceiveState(unsigned char state);
    void acceptHost();
    bool takeByte();
    bool endMessage();
    void dropAnswers();

    bool dead() const { return i_dead || i_outbox.dead(); }
    bool goesOn(const std::optional<BytePosition>& place);
    bool act(const Fault& fault);
    void resetFor(std::optional<uint32_t> milliseconds);

    MailboxPort i_port;
    Conversation& i_conversation;
    FaultPlan& i_plan;
    EventLog& i_events;
    Behaviour i_behaviour;
    std::function<void()> i_onUpgraded;

    Time i_now{};
    uint16_t i_revision = 0;
    bool i_dead = false;
    bool i_armed = false;
    /** When both directions come up again. */
    std::optional<Time> i_upAt;
    bool i_receiveUp = false;
    /** The host has let the receive direction go; the rest of a reset may still follow. */
    bool i_closing = false;
    bool i_finished = false;
    unsigned i_resets = 0;

    /** Nothing more of the host is taken until then. */
    std::optional<Time> i_heldUntil;
    /** A message was taken to its end, and what follows from that is not done yet. */
    bool i_ending = false;
    std::optional<PageAnswer> i_verdict;

    Outbox i_outbox;
};

}  // namespace controller
