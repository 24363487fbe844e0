#include "verification/campaign/embeddedcontroller.h"

#include <algorithm>
#include <stdexcept>

#include "link/mailbox.h"

namespace campaign {

using std::chrono::milliseconds;

namespace {

/** A controller that still has work after so many polls in one call is broken. */
constexpr int POLL_LIMIT = 10000;

uint32_t* Initialised(uint32_t* words) {
    const Words fresh = FreshWords();
    std::copy(fresh.begin(), fresh.end(), words);
    return words;
}

}  // namespace

EmbeddedController::EmbeddedController(const Scenario& scenario, uint32_t* words)
    : i_scenario(scenario),
      i_words(Initialised(words)),
      i_events(i_said, false),
      i_plan(scenario.faults, i_events),
      i_conversation(i_flash, i_events, std::nullopt),
      i_session(controller::MailboxPort(words), i_conversation, i_plan, i_events,
                {scenario.revision, TOOL_REVISION, true, scenario.keepsAnswers}, [] {}),
      i_now(scenario.start) {
    i_session.clear();
    announceIfDue();
}

Words EmbeddedController::words() const {
    Words words;
    std::copy_n(i_words, words.size(), words.begin());
    return words;
}

std::string EmbeddedController::flash() const {
    return {i_flash.bytes().begin(), i_flash.bytes().end()};
}

milliseconds EmbeddedController::now() const {
    return milliseconds((i_now - i_scenario.start) / US_PER_MS);
}

ToolEnd EmbeddedController::serve(LockstepTool& tool, const std::function<void(uint64_t)>& onCall) {
    for (std::optional<Call> call = tool.next(); call; call = tool.next()) {
        if (onCall) {
            onCall(tool.locks());
        }
        handle(*call);
        tool.proceed(i_now);
    }
    return tool.end();
}

void EmbeddedController::handle(Call call) {
    ToolCall step = {call, i_now, {}};
    std::copy_n(i_words + MAILBOX_RX_DATA, step.words.size(), step.words.begin());
    i_steps.push_back(step);
    if (call == Call::Lock) {
        return;
    }
    if (call == Call::Sleep) {
        ++i_polls;
        i_now += US_PER_SECOND;
    } else {
        i_now += US_PER_MS * (i_busy ? BUSY_MS : i_scenario.silenceMs);
    }
    const Words before = words();
    announceIfDue();
    act();
    i_busy = words() != before;
}

void EmbeddedController::announceIfDue() {
    if (!i_appeared && i_polls == i_plan.appearsOnPoll().value_or(0)) {
        i_appeared = true;
        i_session.announce();
    }
}

void EmbeddedController::act() {
    const auto holds = [this](unsigned address, unsigned char byte) {
        return (i_words[address] & 0xFF) == byte;
    };
    const bool offered = holds(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
    const bool read = holds(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    i_bytesGiven += read && i_onOffer ? 1 : 0;
    // Until two polls in a row find no work: a poll without work may leave something that is due at
    // once.
    for (int polls = 0, idle = 0; idle < 2; ++polls) {
        idle = i_session.poll(now()) ? 0 : idle + 1;
        if (polls == POLL_LIMIT) {
            throw std::runtime_error("the controller never becomes idle");
        }
    }
    i_bytesTaken += offered && holds(MAILBOX_TX_FLAG, TX_BYTE_TAKEN) ? 1 : 0;
    i_onOffer = holds(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
}

void EmbeddedController::idle(milliseconds time) {
    constexpr milliseconds step{100};
    for (milliseconds quiet{0}; quiet <= time; quiet += step) {
        act();
        i_session.idle(quiet);
        i_now += step.count() * US_PER_MS;
    }
}

}  // namespace campaign
