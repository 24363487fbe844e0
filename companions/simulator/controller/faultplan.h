#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/conversation.h"
#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/schedule.h"

namespace controller {

/** One step of sending an answer. */
struct AnswerStep {
    enum class Kind {
        /** Offers a byte to the host. */
        Offer,
        /** Writes a byte without offering it; the next one overwrites it. */
        Lose,
        /** Waits `value` milliseconds from the moment when the next byte could be offered. */
        Wait,
        /** The controller dies. */
        Die,
    };

    Kind kind = Kind::Offer;
    /** The byte, or milliseconds. */
    uint32_t value = 0;
    /** The fault to report when the step is taken; null without a fault. */
    const Fault* cause = nullptr;
};

/** The steps that send these bytes without a fault. */
std::vector<AnswerStep> FaultlessSteps(const std::vector<uint8_t>& bytes);

/**
 * Applies a schedule: selects the faults that act now. Each acts once, except those of the whole
 * run, which act whenever they apply. Each is logged when it first acts.
 *
 * Borrows the event log. One thread. The faults that it returns live as long as the plan.
 */
class FaultPlan {
  public:
    FaultPlan(const Schedule& schedule, EventLog& events);

    /** Whether the schedule has no faults. */
    bool empty() const { return i_entries.empty(); }
    /** The next fault at this byte of the host, which now acts; null if there is none left. */
    const Fault* next(const BytePosition& place);
    /** The steps of an answer whose first `early` bytes were sent before it. */
    std::vector<AnswerStep> answer(const PageAnswer& answer, size_t early);
    /** The fault of this kind for the whole run, which now acts; null if there is none. */
    const Fault* ofRun(FaultKind kind);
    /** The number of the host's presence poll that first finds the controller present. */
    std::optional<uint32_t> appearsOnPoll() const;
    /** Logs a fault when it acts for the first time. */
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
