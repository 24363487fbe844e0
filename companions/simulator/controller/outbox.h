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
 * The queue of bytes for the host, which go one by one through the mailbox's receive direction, and
 * the faults that apply to them.
 *
 * Borrows the conversation and the plan. One thread.
 */
class Outbox {
  public:
    using Time = std::chrono::milliseconds;

    Outbox(MailboxPort port, Conversation& conversation, FaultPlan& plan)
        : i_port(port), i_conversation(conversation), i_plan(plan) {}

    /** Appends a whole answer. */
    void queue(const PageAnswer& answer);
    /** Appends an unrequested answer without a fault. */
    void queueUnasked(uint8_t result);
    /** Appends the first bytes of a good answer; the next answer then starts after them. */
    void queueEarly(size_t bytes);

    bool empty() const { return i_steps.empty(); }
    /**
     * Offers the next byte if the host has taken the last one. True if there was anything to do.
     * The receive direction must be up.
     */
    bool offer(Time now);
    /** When a delayed byte is due; no value if there is none. */
    std::optional<Time> due() const { return i_offerAt; }
    /** A fault has ended the controller. */
    bool dead() const { return i_dead; }

    /** Discards everything that the host has not taken; the direction is new. */
    void drop();

  private:
    void queue(const std::vector<AnswerStep>& steps);
    bool mayOffer(Time now);
    void carryOut(const AnswerStep& step, Time now);

    MailboxPort i_port;
    Conversation& i_conversation;
    FaultPlan& i_plan;

    std::deque<AnswerStep> i_steps;
    /** How many bytes of the next answer were sent before it. */
    size_t i_early = 0;
    std::optional<Time> i_offerAt;
    /** Nothing has been offered since the receive direction came up. */
    bool i_directionNew = true;
    bool i_dead = false;
};

}  // namespace controller
