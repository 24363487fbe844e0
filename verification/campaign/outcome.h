#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "verification/campaign/turns.h"

namespace campaign {

/** All words of the mailbox, used or not. */
using Words = std::array<uint32_t, 32>;

/** The words before a run. Unused ones have a mark. */
Words FreshWords();

/** The words at addresses 5 to 10, which change during a run. */
using Handshake = std::array<uint32_t, 6>;

/** A call of the tool, its time, and the mailbox at that time. */
struct ToolCall {
    Call call;
    int64_t now;
    Handshake words;
};

/** Everything observed in a run, or predicted of it. */
struct RunOutcome {
    int exitValue = -1;
    int signal = 0;
    /** Standard output, normalised. */
    std::string log;
    std::string err;
    std::string flash;
    Words words = {};
    std::vector<ToolCall> steps;
    unsigned resets = 0;
    /** The controller's event log. The model does not predict it. */
    std::string events;
};

/** The differences of two outcomes as lines of text; empty if there are none. */
std::string Differences(const RunOutcome& predicted, const RunOutcome& seen);

}  // namespace campaign
