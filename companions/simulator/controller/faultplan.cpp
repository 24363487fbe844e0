#include "companions/simulator/controller/faultplan.h"

#include <algorithm>

namespace controller {

namespace {

bool SameBytePlace(const BytePosition& a, const BytePosition& b) {
    return a.message == b.message && a.page == b.page && a.attempt == b.attempt && a.byte == b.byte;
}

bool IsOf(const Fault& fault, const PageAnswer& answer) {
    return ScopeOf(fault.kind) == FaultScope::Answer && fault.place.page == answer.page &&
           fault.place.attempt == answer.attempt;
}

/** Whether the fault affects the sending of bytes, not their values. */
bool IsStep(FaultKind kind) {
    return kind >= FaultKind::Late;
}

void PutNumber(std::vector<uint8_t>& bytes, size_t offset, size_t size, uint32_t number) {
    for (size_t i = size; i-- > 0; number >>= 8) {
        bytes[offset + i] = static_cast<uint8_t>(number);
    }
}

void PutLength(std::vector<uint8_t>& bytes, uint32_t length) {
    PutNumber(bytes, LENGTH_OFFSET, sizeof length, length);
}

/** False if there is nothing to corrupt. The header is complete until a cut. */
bool Corrupt(std::vector<uint8_t>& bytes, FaultKind kind, uint32_t value) {
    switch (kind) {
        case FaultKind::Body:
            bytes.resize(HEADER_SIZE + value, 0);
            PutLength(bytes, static_cast<uint32_t>(bytes.size()));
            return true;
        case FaultKind::Result:
            if (bytes.size() == HEADER_SIZE) {
                return false;
            }
            bytes[HEADER_SIZE] = static_cast<uint8_t>(value);
            return true;
        case FaultKind::Id:
            PutNumber(bytes, ID_OFFSET, 2, value);
            return true;
        case FaultKind::Lead:
            PutNumber(bytes, 0, 2, value);
            return true;
        case FaultKind::Length:
            PutLength(bytes, value);
            return true;
        case FaultKind::Extra:
            bytes.resize(bytes.size() + value, 0);
            return true;
        case FaultKind::Cut: {
            const bool longer = bytes.size() > value;
            bytes.resize(longer ? value : bytes.size());
            return longer;
        }
        default:
            bytes.clear();
            return true;
    }
}

/** The step of this fault before or for the byte at `position`, if it has one. */
std::optional<AnswerStep> StepAt(const Fault& fault, size_t position, size_t first, size_t size) {
    const uint32_t value = fault.value.value_or(0);
    const bool here = fault.place.byte == position && position < size;
    switch (fault.kind) {
        case FaultKind::Late:
            return here ? std::optional<AnswerStep>({AnswerStep::Kind::Wait, value, &fault})
                        : std::nullopt;
        case FaultKind::Overrun:
            return here ? std::optional<AnswerStep>({AnswerStep::Kind::Lose, 0, &fault})
                        : std::nullopt;
        default:
            return value <= size && std::max<size_t>(value, first) == position
                       ? std::optional<AnswerStep>({AnswerStep::Kind::Die, 0, &fault})
                       : std::nullopt;
    }
}

}  // namespace

std::vector<AnswerStep> FaultlessSteps(const std::vector<uint8_t>& bytes) {
    std::vector<AnswerStep> steps;
    steps.reserve(bytes.size());
    for (const uint8_t byte : bytes) {
        steps.push_back({AnswerStep::Kind::Offer, byte, nullptr});
    }
    return steps;
}

FaultPlan::FaultPlan(const Schedule& schedule, EventLog& events) : i_events(events) {
    for (const Fault& fault : schedule) {
        i_entries.push_back({fault, false});
    }
    std::stable_sort(i_entries.begin(), i_entries.end(),
                     [](const Entry& a, const Entry& b) { return a.fault.kind < b.fault.kind; });
}

void FaultPlan::report(const Fault& fault) {
    for (Entry& entry : i_entries) {
        if (&entry.fault == &fault && !entry.acted) {
            entry.acted = true;
            i_events.fault(ScheduleText({fault}));
        }
    }
}

const Fault* FaultPlan::next(const BytePosition& place) {
    for (const Entry& entry : i_entries) {
        if (!entry.acted && ScopeOf(entry.fault.kind) == FaultScope::HostByte &&
            SameBytePlace(entry.fault.place, place)) {
            report(entry.fault);
            return &entry.fault;
        }
    }
    return nullptr;
}

void FaultPlan::applyTo(std::vector<uint8_t>& bytes, const PageAnswer& answer) {
    for (const Entry& entry : i_entries) {
        const Fault& fault = entry.fault;
        if (!entry.acted && IsOf(fault, answer) && !IsStep(fault.kind) &&
            Corrupt(bytes, fault.kind, fault.value.value_or(0))) {
            report(fault);
        }
    }
}

std::vector<const Fault*> FaultPlan::stepFaults(const PageAnswer& answer) {
    std::vector<const Fault*> faults;
    for (const Entry& entry : i_entries) {
        if (!entry.acted && IsOf(entry.fault, answer) && IsStep(entry.fault.kind)) {
            faults.push_back(&entry.fault);
        }
    }
    // At the same byte, dying comes before waiting. Several waits keep their order.
    std::stable_sort(faults.begin(), faults.end(),
                     [](const Fault* a, const Fault* b) { return a->kind > b->kind; });
    return faults;
}

std::vector<AnswerStep> FaultPlan::answer(const PageAnswer& answer, size_t early) {
    std::vector<uint8_t> bytes = answer.bytes;
    applyTo(bytes, answer);
    const std::vector<const Fault*> faults = stepFaults(answer);
    const size_t first = std::min(early, bytes.size());
    std::vector<AnswerStep> steps;
    steps.reserve(bytes.size() + faults.size());
    for (size_t i = first; i <= bytes.size(); ++i) {
        AnswerStep byte;
        byte.value = i < bytes.size() ? bytes[i] : 0;
        for (const Fault* fault : faults) {
            const std::optional<AnswerStep> step = StepAt(*fault, i, first, bytes.size());
            if (step && step->kind == AnswerStep::Kind::Lose) {
                byte.kind = step->kind;
                byte.cause = fault;
            } else if (step) {
                steps.push_back(*step);
            }
        }
        if (i < bytes.size()) {
            steps.push_back(byte);
        }
    }
    return steps;
}

const Fault* FaultPlan::ofRun(FaultKind kind) {
    const auto found = std::find_if(i_entries.begin(), i_entries.end(), [kind](const Entry& entry) {
        return entry.fault.kind == kind;
    });
    if (found == i_entries.end()) {
        return nullptr;
    }
    report(found->fault);
    return &found->fault;
}

std::optional<uint32_t> FaultPlan::appearsOnPoll() const {
    for (const Entry& entry : i_entries) {
        if (entry.fault.kind == FaultKind::Appear) {
            return entry.fault.value;
        }
    }
    return std::nullopt;
}

}  // namespace controller
