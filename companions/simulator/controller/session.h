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
    /** Whether unread answers are kept when the next host asks for the direction. */
    bool keepsAnswers = false;
};

/**
 * The far side of the mailbox: presence, the two directions, and single bytes both ways.
 *
 *     clear -> announce -> armed <-> receive direction up, while a host asks for it
 *                            |
 *                            +-- the host resets the mailbox: armed again, or down for good
 *
 * It never waits: poll() reads each word that the host may have changed once, and reacts. The
 * caller keeps the time, and reports silence through idle(). The behaviour depends only on the
 * mailbox, the calls and the times.
 *
 * All effects of a host's byte take place before it is acknowledged. So a host that has sent its
 * last byte finds the new revision in the mailbox at once.
 *
 * The plan injects faults. A dead controller no longer touches the mailbox.
 *
 * Borrows the conversation, the plan and the event log. One thread.
 */
class Session {
  public:
    using Time = std::chrono::milliseconds;

    /** `onUpgraded` runs when an upgrade is complete, before the new revision is written. */
    Session(MailboxPort port, Conversation& conversation, FaultPlan& plan, EventLog& events,
            const Behaviour& behaviour, std::function<void()> onUpgraded);

    /** Clears what an earlier run left in the mailbox, presence first. */
    void clear();
    /** Writes the revision, then announces the controller. */
    void announce();
    /**
     * Polls the mailbox once. True if there was anything to do; then poll again. `now` counts from
     * any start and never goes back; only faults use it.
     */
    bool poll(Time now);
    /** When poll() will have something to do even if the host does nothing; no value if never. */
    std::optional<Time> due() const;
    /** Reports that no poll has found anything for this long, so that timeouts take effect. */
    void idle(Time quiet);
    /** At the end: reports what a host began and did not complete. */
    void finish();
    /** Marks the controller as absent; the rest of the mailbox stays as it is. */
    void withdraw();

    /** True once a host has come and gone, after a permanent reset, and when dead. */
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
    /** The host has released the receive direction; the rest of a reset may follow. */
    bool i_closing = false;
    bool i_finished = false;
    unsigned i_resets = 0;

    /** No byte of the host is taken before this time. */
    std::optional<Time> i_heldUntil;
    /** A message is complete, and its effects are still due. */
    bool i_ending = false;
    std::optional<PageAnswer> i_verdict;

    Outbox i_outbox;
};

}  // namespace controller
