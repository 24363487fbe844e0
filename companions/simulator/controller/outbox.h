#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/faultplan.h"
#include "companions/simulator/controller/mailboxport.h"

namespace controller {

/**
 * The bytes on their way to the host, one after the other through the mailbox's receive direction,
 * and the faults that befall them there.
 *
 * Borrows the conversation and the plan. One thread.
 */
class Outbox {
  public:
    using Time = std::chrono::milliseconds;

    Outbox(MailboxPort port, Conversation& conversation, FaultPlan& plan)
        : i_port(port), i_conversation(conversation), i_plan(plan) {}

    /** Puts a whole answer behind what is there. */
    void queue(const PageAnswer& answer);
    /** The same for one without a fault that answers nothing. */
    void queueUnasked(uint8_t result);
    /** The same for the beginning of a good one, which the next answer will lack. */
    void queueEarly(size_t bytes);

    bool empty() const { return i_steps.empty(); }
    /** Offers the next byte if the host has taken the last one. True if there was anything to do.
        The receive direction has to be up. */
    bool offer(Time now);
    /** When the next byte goes out that waits for its time only; none if there is no such byte. */
    std::optional<Time> due() const { return i_offerAt; }
    /** A fault has ended the controller. */
    bool dead() const { return i_dead; }

    /** Forgets all that the host has not taken; the direction is new. */
    void drop();

  private:
    void queue(const std::vector<AnswerStep>& steps);
    bool mayOffer(Time now);
    void carryOut(const AnswerStep& step, Time now);

    MailboxPort i_port;
    Conversation& i_conversation;
    FaultPlan& i_plan;

    std::deque<AnswerStep> i_steps;
    /** So many bytes of the next answer have gone out in front of it. */
    size_t i_early = 0;
    std::optional<Time> i_offerAt;
    /** Nothing has been offered since the receive direction came up. */
    bool i_directionNew = true;
    bool i_dead = false;
};

}  // namespace controller
