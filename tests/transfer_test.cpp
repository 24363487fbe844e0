/** What reaches the controller, for images of every shape. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/support/scriptedfarside.h"
#include "tests/upgradefixture.h"

using testsupport::ExpectedPage;
using testsupport::Payload;
using testsupport::ProcessResult;
using testsupport::Region;
using testsupport::ScriptedFarSide;
using testsupport::SHORTEST_HEADER;
using testsupport::Transcript;

namespace {

class TransferTest : public UpgradeTest {};

std::string ExpectedFlash(const std::string& payload) {
    std::string flash;
    for (size_t page = 0; page * 256 < payload.size(); ++page) {
        flash += ExpectedPage(payload, page);
    }
    return flash;
}

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

class UndeliverableSize : public UpgradeTest, public testing::WithParamInterface<size_t> {};

// The last page's byte count would be -1, or there is no page at all: the pages in front go out,
// and nothing closes the upgrade.
TEST_P(UndeliverableSize, SendsThePagesInFrontOnly) {
    const std::string payload = Payload(GetParam());
    const size_t wholePages = payload.size() / 256;
    Transcript transcript;
    AddOpening(transcript, 0, payload);
    for (size_t page = 0; page < wholePages; ++page) {
        transcript.notice("Page " + std::to_string(page) + " sent successfully\n");
    }
    transcript.error("Failed to upgrade Tolmira controller!\n").notice("Done\n");
    writeImage(payload);
    Controller controller(i_directory);
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
    EXPECT_EQ(controller.flash(), payload.substr(0, wholePages * 256));
    EXPECT_EQ(controller.report("begin messages"), 1);
    EXPECT_EQ(controller.report("page messages"), static_cast<long>(wholePages));
    EXPECT_EQ(controller.report("info messages"), 0);
    EXPECT_EQ(controller.report("end messages"), 0);
}

INSTANTIATE_TEST_SUITE_P(Payload, UndeliverableSize, testing::Values(0, 1, 257, 513));

TEST_F(TransferTest, SendsTheseBytesAndNoOthers) {
    const std::string payload = Payload(700) + std::string("\x34\x12", 2);
    writeImage(payload);
    Region region;
    ScriptedFarSide farSide(region, {}, [](size_t number, const std::string&) {
        return number >= 1 && number <= 3 ? testsupport::PageAnswer(0) : std::string();
    });
    ExpectRun(upgrade(), 0, SuccessfulRun(payload));
    EXPECT_EQ(farSide.stop(), testsupport::ExpectedWire(payload));
}

TEST_F(TransferTest, LeavesTheReceiveDirectionDownAndTheSendDirectionUp) {
    writeImage(Payload(300));
    Region region;
    ScriptedFarSide farSide(region, {}, [](size_t number, const std::string&) {
        return number == 1 || number == 2 ? testsupport::PageAnswer(0) : std::string();
    });
    EXPECT_EQ(upgrade().exitValue, 0);
    farSide.stop();
    EXPECT_EQ(region.byte(MAILBOX_RX_STATE), STATE_ABSENT);
    EXPECT_EQ(region.byte(MAILBOX_TX_STATE), STATE_READY);
    EXPECT_EQ(region.byte(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
    EXPECT_EQ(region.byte(MAILBOX_RX_FLAG), RX_BYTE_TAKEN);
}

// The byte is bits 0 to 7 of a word. A write clears bit 8 and keeps what is above it.
TEST_F(TransferTest, KeepsTheUpperBitsOfTheWordsItWrites) {
    writeImage(Payload(300));
    Controller controller(i_directory);
    Region region;
    region.setWord(MAILBOX_TX_DATA, 0xFFFFFFFF);
    region.setWord(MAILBOX_REVISION_LOW, 0xABCDE100U | region.byte(MAILBOX_REVISION_LOW));
    EXPECT_EQ(upgrade().exitValue, 0);
    EXPECT_EQ(region.word(MAILBOX_TX_DATA), 0xFFFFFE00U | 0x08) << "the last byte of the end frame";
    EXPECT_EQ(controller.report("findings"), 0);
}

class SwitcherMode : public UpgradeTest, public testing::WithParamInterface<int> {};

// Every mode's register map has the mailbox at the same place.
TEST_P(SwitcherMode, ReachesTheMailbox) {
    const std::string payload = Payload(260);
    writeImage(payload);
    i_directory.writeOptions("availableMles=2\nswitcherMode=" + std::to_string(GetParam()) + "\n");
    Controller controller(i_directory);
    ExpectRun(upgrade(), 0, SuccessfulRun(payload));
    EXPECT_EQ(controller.flash(), ExpectedFlash(payload));
}

INSTANTIATE_TEST_SUITE_P(Options, SwitcherMode, testing::Range(0, 7));

}  // namespace
