#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "verification/campaign/turns.h"

namespace campaign {

/** The words of the mailbox, those that nobody uses too. */
using Words = std::array<uint32_t, 32>;

/** What the words hold in front of a run: a mark in those that are nobody's. */
Words FreshWords();

/** The words that change, addresses 5 to 10. */
using Handshake = std::array<uint32_t, 6>;

/** What the tool was about to do, when, and what it and the far side had left in the mailbox. */
struct ToolCall {
    Call call;
    int64_t now;
    Handshake words;
};

/** All that is seen of a run from outside, or is predicted of it. */
struct RunOutcome {
    int exitValue = -1;
    int signal = 0;
    /** Standard output with the thread's handle and the positions made alike. */
    std::string log;
    std::string err;
    /** The controller's flash. */
    std::string flash;
    Words words = {};
    std::vector<ToolCall> steps;
    unsigned resets = 0;
    /** What the controller said of itself; nothing is predicted of it. */
    std::string events;
};

/** Where two outcomes differ, in lines to read; empty if they don't. */
std::string Differences(const RunOutcome& predicted, const RunOutcome& seen);

}  // namespace campaign
