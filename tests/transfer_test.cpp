/** What reaches the controller, for images of every shape. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testsupport::ExpectedFlash;
using testsupport::Payload;
using testsupport::Region;
using testsupport::Transcript;

namespace {

class TransferTest : public UpgradeTest {};

class DeliveredSize : public UpgradeTest, public testing::WithParamInterface<size_t> {};

TEST_P(DeliveredSize, FillsTheFlashWithTheContent) {
    const std::string payload = Payload(GetParam());
    writeImage(payload);
    Controller controller(i_directory);
    ExpectRun(upgrade(), 0, SuccessfulRun(payload));
    EXPECT_EQ(controller.stop().exitValue, 0) << controller.stop().out;
    EXPECT_EQ(controller.flash(), ExpectedFlash(payload));
    EXPECT_EQ(controller.report("upgrades"), 1);
    EXPECT_EQ(controller.report("page messages"), controller.report("good pages"));
}

INSTANTIATE_TEST_SUITE_P(Payload, DeliveredSize,
                         testing::Values(2, 3, 255, 256, 258, 259, 511, 512, 514, 5000));

// There is no page, or the checksum straddles the last two: the whole pages before that are sent,
// and nothing closes the upgrade.
TEST_F(TransferTest, SendsOnlyThePagesThatCanBeCut) {
    for (const size_t size : {0U, 1U, 257U, 513U}) {
        SCOPED_TRACE(size);
        const std::string payload = Payload(size);
        const size_t wholePages = size / 256;
        writeImage(payload);
        Transcript transcript;
        AddOpening(transcript, 0, payload);
        AddSentPages(transcript, 0, wholePages);
        transcript.error("Failed to upgrade Tolmira controller!\n").notice("Done\n");
        Controller controller(i_directory);
        ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
        EXPECT_EQ(controller.flash(), payload.substr(0, wholePages * 256));
        EXPECT_EQ(controller.report("begin messages"), 1);
        EXPECT_EQ(controller.report("page messages"), static_cast<long>(wholePages));
        EXPECT_EQ(controller.report("info messages"), 0);
        EXPECT_EQ(controller.report("end messages"), 0);
    }
}

// The byte is bits 0 to 7 of a word. A write clears bit 8 and keeps the bits above it.
TEST_F(TransferTest, KeepsTheSendDirectionUpAndTheUpperBits) {
    writeImage(Payload(300));
    Controller controller(i_directory);
    Region region;
    region.setWord(MAILBOX_TX_DATA, 0xFFFFFFFF);
    region.setWord(MAILBOX_REVISION_LOW, 0xABCDE100U | region.byte(MAILBOX_REVISION_LOW));
    EXPECT_EQ(upgrade().exitValue, 0);
    EXPECT_EQ(region.word(MAILBOX_TX_DATA), 0xFFFFFE00U | 0x08) << "the last byte of the end frame";
    EXPECT_EQ(region.byte(MAILBOX_RX_STATE), STATE_ABSENT);
    EXPECT_EQ(region.byte(MAILBOX_RX_FLAG), RX_BYTE_TAKEN);
    EXPECT_EQ(region.byte(MAILBOX_TX_STATE), STATE_READY);
    EXPECT_EQ(region.byte(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
    EXPECT_EQ(controller.report("findings"), 0);
}

TEST_F(TransferTest, ReachesTheMailboxInEverySwitcherMode) {
    const std::string payload = Payload(260);
    writeImage(payload);
    for (int mode = 0; mode < 7; ++mode) {
        SCOPED_TRACE(mode);
        i_directory.writeOptions("availableMles=2\nswitcherMode=" + std::to_string(mode) + "\n");
        Controller controller(i_directory);
        ExpectRun(upgrade(), 0, SuccessfulRun(payload));
        EXPECT_EQ(controller.flash(), ExpectedFlash(payload));
    }
}

}  // namespace
