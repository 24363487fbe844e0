#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/schedule.h"

namespace controller {

/** One step of giving an answer. */
struct AnswerStep {
    enum class Kind {
        /** A byte goes to the host. */
        Offer,
        /** A byte is written and never offered: the next one takes its place. */
        Lose,
        /** Nothing for so many milliseconds, from when the next byte could have gone. */
        Wait,
        /** The controller dies. */
        Die,
    };

    Kind kind = Kind::Offer;
    /** The byte, or milliseconds. */
    uint32_t value = 0;
    /** To be told when the step is taken; null for the step of a faultless answer. */
    const Fault* cause = nullptr;
};

/** The steps that give these bytes without a fault. */
std::vector<AnswerStep> FaultlessSteps(const std::vector<uint8_t>& bytes);

/**
 * A schedule in use: what the controller is to do wrong now, each fault once, those of a whole run
 * as often as they apply. It notes each fault in the event log when it acts for the first time.
 *
 * Borrows the event log. One thread. The faults that it hands out live as long as it does.
 */
class FaultPlan {
  public:
    FaultPlan(const Schedule& schedule, EventLog& events);

    /** The controller is without fault. */
    bool empty() const { return i_entries.empty(); }
    /** The next fault at this byte of the host, which acts now; null when no more are left. */
    const Fault* next(const BytePosition& place);
    /** What becomes of an answer whose first `early` bytes have gone out in front of it. */
    std::vector<AnswerStep> answer(const PageAnswer& answer, size_t early);
    /** The fault of this kind that holds for the whole run, which acts now; null if there is none.
     */
    const Fault* ofRun(FaultKind kind);
    /** On which presence poll of the host the controller is to be there first. */
    std::optional<uint32_t> appearsOnPoll() const;
    /** Says that a fault acts. */
    void report(const Fault& fault);

  private:
    struct Entry {
        Fault fault;
        bool acted = false;
    };

    void applyTo(std::vector<uint8_t>& bytes, const PageAnswer& answer);
    std::vector<const Fault*> stepFaults(const PageAnswer& answer);

    EventLog& i_events;
    /** In the order of kinds, which is the order of acting. */
    std::vector<Entry> i_entries;
};

}  // namespace controller
