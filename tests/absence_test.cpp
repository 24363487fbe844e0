/** A controller that never appears. Takes a minute of real time, so it is a separate program. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testsupport::Region;
using testsupport::Transcript;

namespace {

class AbsenceTest : public UpgradeTest {};

TEST_F(AbsenceTest, EndsAfterSixtyPolls) {
    Region region;
    for (unsigned address = MAILBOX_RX_DATA; address < MAILBOX_TX_STATE; ++address) {
        region.setWord(address, 0xFFFFFFFF);
    }
    region.setWord(MAILBOX_TX_STATE, 0xFFFFFF00);
    Transcript transcript;
    for (int poll = 0; poll < 60; ++poll) {
        transcript.notice("Controller isn't there, sleeping for 1 second\n");
    }
    transcript.notice("Controller is missing, skipping upgrade");
    ExpectRun(run({"-f", "no such image", "configuration"}), 1, transcript);
    EXPECT_EQ(region.word(MAILBOX_RX_STATE), 0xFFFFFE00U) << "a run ends with its direction off";
    EXPECT_EQ(region.word(MAILBOX_TX_STATE), 0xFFFFFF00U);
    for (const unsigned untouched : {MAILBOX_RX_DATA, MAILBOX_RX_FLAG, MAILBOX_TX_DATA}) {
        EXPECT_EQ(region.word(untouched), 0xFFFFFFFFU) << untouched;
    }
}

}  // namespace
