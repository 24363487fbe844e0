/** A controller that never appears: a minute of real time, in a program of its own. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testsupport::Region;
using testsupport::Transcript;

namespace {

class AbsenceTest : public UpgradeTest {};

TEST_F(AbsenceTest, EndsBehindSixtyLooks) {
    Region region;
    for (unsigned address = MAILBOX_RX_DATA; address < MAILBOX_TX_STATE; ++address) {
        region.setWord(address, 0xFFFFFFFF);
    }
    region.setWord(MAILBOX_TX_STATE, 0xFFFFFF00);
    Transcript transcript;
    for (int look = 0; look < 60; ++look) {
        transcript.notice("Controller isn't there, sleeping for 1 second\n");
    }
    transcript.notice("Controller is missing, skipping upgrade");
    ExpectRun(run({"-f", "no such image", "configuration"}), 1, transcript);
    EXPECT_EQ(region.word(MAILBOX_RX_STATE), 0xFFFFFE00U) << "the end of every run";
    EXPECT_EQ(region.word(MAILBOX_TX_STATE), 0xFFFFFF00U);
    for (const unsigned untouched : {MAILBOX_RX_DATA, MAILBOX_RX_FLAG, MAILBOX_TX_DATA}) {
        EXPECT_EQ(region.word(untouched), 0xFFFFFFFFU) << untouched;
    }
}

}  // namespace
