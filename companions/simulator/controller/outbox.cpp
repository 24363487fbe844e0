#include "companions/simulator/controller/outbox.h"

#include "link/mailbox.h"

namespace controller {

void Outbox::queue(const std::vector<AnswerStep>& steps) {
    i_steps.insert(i_steps.end(), steps.begin(), steps.end());
}

void Outbox::queue(const PageAnswer& answer) {
    queue(i_plan.answer(answer, i_early));
    i_early = 0;
}

void Outbox::queueUnasked(uint8_t result) {
    queue(FaultlessSteps(PackResult(result)));
}

void Outbox::queueEarly(size_t bytes) {
    std::vector<uint8_t> answer = PackResult(static_cast<uint8_t>(PageResult::Good));
    answer.resize(bytes);
    queue(FaultlessSteps(answer));
    i_early = bytes;
}

bool Outbox::offer(Time now) {
    bool active = false;
    bool offered = false;
    while (!i_dead && !i_steps.empty() &&
           (i_steps.front().kind == AnswerStep::Kind::Die || (!offered && mayOffer(now)))) {
        const AnswerStep step = i_steps.front();
        i_steps.pop_front();
        carryOut(step, now);
        offered = step.kind == AnswerStep::Kind::Offer;
        active = true;
    }
    return active;
}

bool Outbox::mayOffer(Time now) {
    if (i_offerAt && now < *i_offerAt) {
        return false;
    }
    i_offerAt.reset();
    return i_directionNew || i_port.read(MAILBOX_RX_FLAG) == RX_BYTE_TAKEN;
}

void Outbox::carryOut(const AnswerStep& step, Time now) {
    if (step.cause != nullptr) {
        i_plan.report(*step.cause);
    }
    const auto byte = static_cast<uint8_t>(step.value);
    switch (step.kind) {
        case AnswerStep::Kind::Offer:
            i_port.write(MAILBOX_RX_DATA, byte);
            i_port.write(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
            i_directionNew = false;
            i_conversation.noteOffered(byte);
            break;
        case AnswerStep::Kind::Lose:
            i_port.write(MAILBOX_RX_DATA, byte);
            break;
        case AnswerStep::Kind::Wait:
            i_offerAt = now + Time(step.value);
            break;
        case AnswerStep::Kind::Die:
            i_dead = true;
            break;
    }
}

void Outbox::drop() {
    i_steps.clear();
    i_early = 0;
    i_offerAt.reset();
    i_directionNew = true;
    i_conversation.noteAnswersLost();
    // Otherwise a byte that was not taken would become the first one of the next answer.
    if (i_port.read(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED) {
        i_port.write(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    }
}

}  // namespace controller
