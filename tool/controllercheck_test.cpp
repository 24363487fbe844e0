#include "tool/controllercheck.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "link/mailbox.h"
#include "tests/support/child.h"
#include "tests/support/faketime.h"
#include "tests/support/scriptedmailbox.h"
#include "tests/support/transcript.h"

using testsupport::FakeTime;
using testsupport::Normalised;
using testsupport::RecordingMailbox;
using testsupport::Transcript;

namespace {

/** The normalised log of `body`, which runs in a child process. */
std::string LogOf(const std::function<void()>& body) {
    return Normalised(testsupport::RunInChild(body).out);
}

TEST(WaitForController, TakesSixtyPollsAndSleepsAfterEachFailedOne) {
    struct Case {
        int appearsOnPoll;  // 0: never
        bool result;
        unsigned int slept;
    };
    for (const Case& c : {Case{1, true, 0}, Case{60, true, 59}, Case{61, false, 60}}) {
        SCOPED_TRACE(c.appearsOnPoll);
        Transcript expected;
        for (unsigned int i = 0; i < c.slept; ++i) {
            expected.notice("Controller isn't there, sleeping for 1 second\n");
        }
        if (!c.result) {
            expected.notice("Controller is missing, skipping upgrade");
        }
        EXPECT_EQ(LogOf([&] {
                      const FakeTime time({1, 0});
                      RecordingMailbox mailbox;
                      int polls = 0;
                      mailbox.beforeRead = [&](unsigned int) {
                          mailbox.bytes[MAILBOX_TX_STATE] = ++polls == c.appearsOnPoll ? 1 : 0;
                      };
                      RouterCommWriter writer(&mailbox);
                      if (WaitForController(writer) != c.result || time.slept != c.slept) {
                          printf("the wait was wrong\n");
                      }
                  }),
                  expected.text());
    }
}

TEST(ControllerNeedsUpgrade, ReadsTheRevisionTwiceAndLogsTheFirst) {
    const struct {
        unsigned char high;
        unsigned char low;
        unsigned char lowLater;  // at the second reading
        int logged;
        bool needsUpgrade;
    } cases[] = {{0x4C, 0x45, 0x45, 19525, false},
                 {0x4C, 0x44, 0x44, 19524, true},
                 {0x4C, 0x46, 0x46, 19526, true},
                 {0xFF, 0xFF, 0xFF, 65535, true},
                 {0x4C, 0x45, 0x46, 19525, true}};
    for (const auto& c : cases) {
        Transcript expected;
        expected.notice("Controller is " + std::to_string(c.logged) + "\n");
        EXPECT_EQ(LogOf([&] {
                      RecordingMailbox mailbox;
                      int reads = 0;
                      mailbox.beforeRead = [&](unsigned int) {
                          mailbox.bytes[MAILBOX_REVISION_LOW] = ++reads <= 2 ? c.low : c.lowLater;
                      };
                      mailbox.bytes[MAILBOX_REVISION_HIGH] = c.high;
                      RouterCommReader reader(&mailbox);
                      if (ControllerNeedsUpgrade(reader) != c.needsUpgrade ||
                          mailbox.takeAccesses() != "R17 R16 R17 R16") {
                          printf("the check was wrong\n");
                      }
                  }),
                  expected.text());
    }
}

}  // namespace
