#include "companions/simulator/controller/session.h"

#include <string>
#include <utility>

#include "link/mailbox.h"

namespace controller {

namespace {

/** A reset takes the host microseconds; after this time it was not a reset. */
constexpr std::chrono::milliseconds RESET_TIME{50};

/** In the middle of a message a host sends the next byte at once or never. */
constexpr std::chrono::milliseconds MESSAGE_TIME{2000};

/** The port with the plan's dirty bits. */
MailboxPort Dirty(MailboxPort port, FaultPlan& plan) {
    if (const Fault* dirty = plan.ofRun(FaultKind::Dirty)) {
        port.setDirt(*dirty->value);
    }
    return port;
}

}  // namespace

Session::Session(MailboxPort port, Conversation& conversation, FaultPlan& plan, EventLog& events,
                 const Behaviour& behaviour, std::function<void()> onUpgraded)
    : i_port(Dirty(port, plan)),
      i_conversation(conversation),
      i_plan(plan),
      i_events(events),
      i_behaviour(behaviour),
      i_onUpgraded(std::move(onUpgraded)),
      i_outbox(i_port, conversation, plan) {}

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
    writeRevision(i_behaviour.revision);
    i_port.write(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_armed = true;
    i_plan.ofRun(FaultKind::Appear);
    i_events.event("announced, revision " + std::to_string(i_revision));
}

bool Session::poll(Time now) {
    i_now = now;
    if (dead()) {
        return false;
    }
    if (i_upAt && bringUp()) {
        return true;
    }
    // In the reverse of the host's order of writing, so that no byte is seen without the state
    // written before it.
    const unsigned char flag = i_port.read(MAILBOX_TX_FLAG);
    const unsigned char receiveState = i_port.read(MAILBOX_RX_STATE);
    if (i_port.read(MAILBOX_TX_STATE) == STATE_ABSENT) {
        return reset();
    }
    bool active = followReceiveState(receiveState);
    if (i_ending) {
        active = endMessage() || active;
    } else if (flag == TX_BYTE_OFFERED) {
        active = takeByte() || active;
    }
    if (i_receiveUp && !i_outbox.empty() && !i_dead) {
        active = i_outbox.offer(now) || active;
    }
    return active;
}

std::optional<Session::Time> Session::due() const {
    const std::optional<Time> offer = i_receiveUp ? i_outbox.due() : std::nullopt;
    std::optional<Time> first;
    for (const std::optional<Time>& time : {i_upAt, i_heldUntil, offer}) {
        if (time && (!first || *time < *first)) {
            first = time;
        }
    }
    return dead() ? std::nullopt : first;
}

bool Session::reset() {
    if (!i_armed) {
        return false;
    }
    ++i_resets;
    i_events.finding("the host has reset the mailbox");
    i_conversation.breakOff("mailbox reset");
    disarm();
    const bool rearm = i_behaviour.rearm && i_plan.ofRun(FaultKind::NoRearm) == nullptr;
    i_finished = !rearm;
    if (rearm) {
        const Fault* late = i_plan.ofRun(FaultKind::Rearm);
        i_upAt = i_now + Time(late != nullptr ? *late->value : 0);
        bringUp();
    }
    return true;
}

void Session::disarm() {
    dropAnswers();
    i_closing = false;
    i_armed = false;
    i_receiveUp = false;
}

bool Session::bringUp() {
    if (!i_upAt || i_now < *i_upAt) {
        return false;
    }
    i_upAt.reset();
    i_armed = true;
    i_receiveUp = true;
    i_port.write(MAILBOX_RX_STATE, STATE_READY);
    i_port.write(MAILBOX_TX_STATE, STATE_REQUESTED);
    return true;
}

bool Session::followReceiveState(unsigned char state) {
    if (state == STATE_REQUESTED) {
        acceptHost();
        return true;
    }
    if (state == STATE_ABSENT && i_receiveUp) {
        i_receiveUp = false;
        i_closing = true;
        return true;
    }
    return false;
}

void Session::acceptHost() {
    i_events.trace("host asks for the receive direction");
    i_conversation.restart();
    if (!i_behaviour.keepsAnswers) {
        dropAnswers();
    }
    i_closing = false;
    i_receiveUp = true;
    if (const Fault* revise = i_plan.ofRun(FaultKind::Revise)) {
        writeRevision(static_cast<uint16_t>(*revise->value));
    }
    i_port.write(MAILBOX_RX_STATE, STATE_READY);
}

void Session::dropAnswers() {
    i_heldUntil.reset();
    i_ending = false;
    i_outbox.drop();
}

bool Session::takeByte() {
    if (!i_plan.empty() && !goesOn(i_conversation.placeOnOffer())) {
        return false;
    }
    ByteResult outcome = i_conversation.take(i_port.read(MAILBOX_TX_DATA));
    if (outcome.upgraded) {
        i_onUpgraded();
        writeRevision(i_behaviour.newRevision);
        i_events.event("reports revision " + std::to_string(i_revision));
    }
    if (outcome.complete) {
        i_ending = true;
        i_verdict = std::move(outcome.answer);
        endMessage();
    }
    // After the effects of a fault, so that the host finds them as soon as it continues.
    i_port.write(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
    return true;
}

bool Session::endMessage() {
    if (!i_plan.empty() && !goesOn(i_conversation.placeAfterMessage())) {
        return false;
    }
    i_ending = false;
    if (i_verdict) {
        i_outbox.queue(*i_verdict);
    }
    return true;
}

// False while the host's message can't continue, now or ever.
bool Session::goesOn(const std::optional<BytePosition>& place) {
    while (!i_heldUntil || i_now >= *i_heldUntil) {
        i_heldUntil.reset();
        const Fault* fault = place ? i_plan.next(*place) : nullptr;
        if (fault == nullptr) {
            return true;
        }
        if (!act(*fault)) {
            return false;
        }
    }
    return false;
}

// False if the message can't continue after the fault.
bool Session::act(const Fault& fault) {
    const uint32_t value = fault.value.value_or(0);
    switch (fault.kind) {
        case FaultKind::Slow:
            i_heldUntil = i_now + Time(value);
            return true;
        case FaultKind::Die:
            i_dead = true;
            return false;
        case FaultKind::Reset:
            resetFor(fault.value);
            return false;
        case FaultKind::State10:
            i_port.write(MAILBOX_TX_STATE, static_cast<unsigned char>(value));
            return true;
        case FaultKind::State7:
            i_port.write(MAILBOX_RX_STATE, static_cast<unsigned char>(value));
            return true;
        case FaultKind::Unasked:
            i_outbox.queueUnasked(static_cast<uint8_t>(value));
            return true;
        default:
            i_outbox.queueEarly(value);
            return true;
    }
}

void Session::resetFor(std::optional<uint32_t> milliseconds) {
    clear();
    i_conversation.forget();
    disarm();
    i_finished = !milliseconds;
    if (milliseconds) {
        i_upAt = i_now + Time(*milliseconds);
        bringUp();
    }
}

void Session::idle(Time quiet) {
    if (dead() || due()) {
        return;  // the controller itself causes the silence
    }
    if (i_closing && quiet >= RESET_TIME) {
        i_closing = false;
        i_finished = true;
        i_events.trace("host has closed the receive direction");
        finish();
    }
    if (quiet >= MESSAGE_TIME) {
        i_conversation.breakOff("no more bytes");
    }
}

void Session::withdraw() {
    if (dead()) {
        return;
    }
    i_port.write(MAILBOX_TX_STATE, STATE_ABSENT);
    i_armed = false;
    i_upAt.reset();
}

void Session::finish() {
    i_conversation.breakOff("the end");
    i_conversation.close();
}

}  // namespace controller
