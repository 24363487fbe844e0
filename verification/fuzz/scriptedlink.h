#pragma once

#include "tests/support/faketime.h"
#include "tests/support/scriptedmailbox.h"

namespace fuzzing {

/**
 * A mailbox in memory, its far side, and a clock for this thread. Each poll for a byte advances the
 * clock by a second, so that no wait takes real time. libFuzzer's own thread keeps the real clock.
 */
struct ScriptedLink {
    ScriptedLink() : time({1, 0}), farSide(mailbox) {
        farSide.onPoll = [this] { time.advance({1, 0}); };
    }

    testsupport::FakeTime time;
    testsupport::MemoryMailbox mailbox;
    testsupport::EagerFarSide farSide;
};

}  // namespace fuzzing
