#include "companions/controller/session.h"

#include <string>
#include <utility>

#include "link/mailbox.h"

namespace controller {

namespace {

/** A reset takes the host microseconds; this long after its first sign it was no reset. */
constexpr std::chrono::milliseconds RESET_TIME{50};

/** A host that is in the middle of a message gives the next byte at once or never. */
constexpr std::chrono::milliseconds MESSAGE_TIME{2000};

}  // namespace

Session::Session(MailboxPort port, Conversation& conversation, FaultPlan& plan, Journal& journal,
                 const Manners& manners, std::function<void()> onUpgraded)
    : i_port(port),
      i_conversation(conversation),
      i_plan(plan),
      i_journal(journal),
      i_manners(manners),
      i_onUpgraded(std::move(onUpgraded)) {
    if (const Fault* dirty = i_plan.ofRun(FaultKind::e_Dirty)) {
        i_port.setDirt(*dirty->value);
    }
}

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
    writeRevision(i_manners.revision);
    i_port.write(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_armed = true;
    i_plan.ofRun(FaultKind::e_Appear);
    i_journal.event("announced, revision " + std::to_string(i_revision));
}

bool Session::poll(Time now) {
    i_now = now;
    if (i_dead || comeUp()) {
        return !i_dead;
    }
    // In the reverse of the host's order of writing, so that no byte is seen without the state in
    // front of it.
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
    return offerByte() || active;
}

std::optional<Session::Time> Session::due() const {
    std::optional<Time> first;
    for (const std::optional<Time>& time : {i_upAt, i_heldUntil, i_offerAt}) {
        if (time && (!first || *time < *first)) {
            first = time;
        }
    }
    return i_dead ? std::nullopt : first;
}

bool Session::reset() {
    if (!i_armed) {
        return false;
    }
    ++i_resets;
    i_journal.finding("the host has reset the mailbox");
    i_conversation.breakOff("mailbox reset");
    goDown();
    const bool rearm = i_manners.rearm && i_plan.ofRun(FaultKind::e_NoRearm) == nullptr;
    i_over = !rearm;
    if (rearm) {
        const Fault* late = i_plan.ofRun(FaultKind::e_Rearm);
        i_upAt = i_now + Time(late != nullptr ? *late->value : 0);
        comeUp();
    }
    return true;
}

void Session::goDown() {
    dropAnswers();
    i_closing = false;
    i_armed = false;
    i_receiveUp = false;
}

bool Session::comeUp() {
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
        welcomeHost();
        return true;
    }
    if (state == STATE_ABSENT && i_receiveUp) {
        i_receiveUp = false;
        i_closing = true;
        return true;
    }
    return false;
}

void Session::welcomeHost() {
    i_journal.trace("host asks for the receive direction");
    i_conversation.welcome();
    dropAnswers();
    i_closing = false;
    i_receiveUp = true;
    if (const Fault* revise = i_plan.ofRun(FaultKind::e_Revise)) {
        writeRevision(static_cast<uint16_t>(*revise->value));
    }
    i_port.write(MAILBOX_RX_STATE, STATE_READY);
}

void Session::dropAnswers() {
    i_heldUntil.reset();
    i_ending = false;
    i_answers.clear();
    i_offerAt.reset();
    i_early = 0;
    i_directionNew = true;
    i_conversation.noteAnswersLost();
    // A byte that nobody took would be the first one of the next answer.
    if (i_port.read(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED) {
        i_port.write(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    }
}

bool Session::takeByte() {
    if (!i_plan.empty() && !goesOn(i_conversation.placeOnOffer())) {
        return false;
    }
    Outcome outcome = i_conversation.take(i_port.read(MAILBOX_TX_DATA));
    if (outcome.upgraded) {
        i_onUpgraded();
        writeRevision(i_manners.newRevision);
        i_journal.event("reports revision " + std::to_string(i_revision));
    }
    i_port.write(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
    if (outcome.complete) {
        i_ending = true;
        i_verdict = std::move(outcome.answer);
        endMessage();
    }
    return true;
}

bool Session::endMessage() {
    if (!i_plan.empty() && !goesOn(i_conversation.placeBehind())) {
        return false;
    }
    i_ending = false;
    if (i_verdict) {
        queue(i_plan.answer(*i_verdict, i_early));
        i_early = 0;
        i_verdict.reset();
    }
    return true;
}

void Session::queue(const std::vector<Step>& steps) {
    i_answers.insert(i_answers.end(), steps.begin(), steps.end());
}

bool Session::mayOffer() {
    if (!i_receiveUp || (i_offerAt && i_now < *i_offerAt)) {
        return false;
    }
    i_offerAt.reset();
    return i_directionNew || i_port.read(MAILBOX_RX_FLAG) == RX_BYTE_TAKEN;
}

bool Session::offerByte() {
    bool offered = false;
    bool active = false;
    while (!i_dead && !i_answers.empty() &&
           (i_answers.front().kind == Step::Kind::e_Die || (!offered && mayOffer()))) {
        const Step step = i_answers.front();
        i_answers.pop_front();
        carryOut(step);
        offered = step.kind == Step::Kind::e_Offer;
        active = true;
    }
    return active;
}

void Session::carryOut(const Step& step) {
    if (step.cause != nullptr) {
        i_plan.tell(*step.cause);
    }
    const auto byte = static_cast<uint8_t>(step.value);
    switch (step.kind) {
        case Step::Kind::e_Offer:
            i_port.write(MAILBOX_RX_DATA, byte);
            i_port.write(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
            i_directionNew = false;
            i_conversation.noteOffered(byte);
            break;
        case Step::Kind::e_Lose:
            i_port.write(MAILBOX_RX_DATA, byte);
            break;
        case Step::Kind::e_Wait:
            i_offerAt = i_now + Time(step.value);
            break;
        case Step::Kind::e_Die:
            i_dead = true;
            break;
    }
}

// False while the host's message does not go on from here, now or ever.
bool Session::goesOn(const std::optional<Place>& place) {
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

// False if there is nothing left to go on with.
bool Session::act(const Fault& fault) {
    const uint32_t value = fault.value.value_or(0);
    switch (fault.kind) {
        case FaultKind::e_Slow:
            i_heldUntil = i_now + Time(value);
            return true;
        case FaultKind::e_Die:
            i_dead = true;
            return false;
        case FaultKind::e_Reset:
            resetFor(fault.value);
            return false;
        case FaultKind::e_State10:
            i_port.write(MAILBOX_TX_STATE, static_cast<unsigned char>(value));
            return true;
        case FaultKind::e_State7:
            i_port.write(MAILBOX_RX_STATE, static_cast<unsigned char>(value));
            return true;
        case FaultKind::e_Unasked:
            queue(FaultlessSteps(PackResult(static_cast<uint8_t>(value))));
            return true;
        default: {
            std::vector<uint8_t> bytes = PackResult(static_cast<uint8_t>(PageResult::e_Good));
            bytes.resize(value);
            queue(FaultlessSteps(bytes));
            i_early = value;
            return true;
        }
    }
}

void Session::resetFor(std::optional<uint32_t> milliseconds) {
    clear();
    i_conversation.forget();
    goDown();
    i_over = !milliseconds;
    if (milliseconds) {
        i_upAt = i_now + Time(*milliseconds);
    }
}

void Session::idle(Time quiet) {
    if (i_dead || due()) {
        return;  // The silence is the controller's own.
    }
    if (i_closing && quiet >= RESET_TIME) {
        i_closing = false;
        i_over = true;
        i_journal.trace("host has closed the receive direction");
        finish();
    }
    if (quiet >= MESSAGE_TIME) {
        i_conversation.breakOff("no more bytes");
    }
}

void Session::withdraw() {
    if (i_dead) {
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
