/** Whether the tool upgrades: revision, force, presence, and the image's header. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testsupport::Payload;
using testsupport::ProcessResult;
using testsupport::Region;
using testsupport::SHORTEST_HEADER;
using testsupport::Transcript;

namespace {

constexpr const char* ABSENT = "Controller isn't there, sleeping for 1 second\n";

class DecisionTest : public UpgradeTest {
  protected:
    /** A run with an image that does not pass: these lines, and not a byte to the controller. */
    void expectRefused(const std::string& image, const Transcript& transcript) {
        Controller controller(i_directory);
        ExpectRun(run({image, "configuration"}), EXIT_NOT_UPGRADED, transcript);
        EXPECT_EQ(controller.report("findings"), 0) << controller.stop().out;
        EXPECT_EQ(controller.report("begin messages"), 0);
    }
};

Transcript AlreadyThere() {
    return Transcript()
        .notice("Controller is 19525\n")
        .notice("Controller is already at revision 19525\n");
}

TEST_F(DecisionTest, LeavesAControllerOfItsRevisionAlone) {
    Controller controller(i_directory, {"--revision", "19525"});
    ExpectRun(run({"no such image", "configuration"}), EXIT_NOT_UPGRADED, AlreadyThere());
    EXPECT_EQ(controller.stop().exitValue, 0) << controller.stop().out;
    EXPECT_EQ(controller.report("begin messages"), 0);
}

TEST_F(DecisionTest, UpgradesAControllerOfItsRevisionWhenForced) {
    const std::string payload = Payload(300);
    writeImage(payload);
    Controller controller(i_directory, {"--revision", "19525"});
    ExpectRun(run({"-f", "image", "configuration"}), 0, SuccessfulRun(payload, TOOL_REVISION));
    EXPECT_EQ(controller.report("upgrades"), 1);
}

TEST_F(DecisionTest, UpgradesOlderAndNewerControllers) {
    const std::string payload = Payload(300);
    writeImage(payload);
    for (const unsigned revision : {19524U, 19526U, 65535U, 0x4500U, 0x0045U}) {
        SCOPED_TRACE(revision);
        Controller controller(i_directory, {"--revision", std::to_string(revision)});
        ExpectRun(upgrade(), 0, SuccessfulRun(payload, revision));
        EXPECT_EQ(controller.report("upgrades"), 1);
    }
}

TEST_F(DecisionTest, FindsNothingLeftInTheSecondRun) {
    const std::string payload = Payload(1000);
    writeImage(payload);
    Controller controller(i_directory);
    ExpectRun(upgrade(), 0, SuccessfulRun(payload));
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, AlreadyThere());
    ExpectRun(run({"-f", "image", "configuration"}), 0, SuccessfulRun(payload, TOOL_REVISION));
    EXPECT_EQ(controller.stop().exitValue, 0) << controller.stop().out;
    EXPECT_EQ(controller.report("upgrades"), 2);
}

TEST_F(DecisionTest, WaitsForAControllerThatAppearsLate) {
    const std::string payload = Payload(300);
    writeImage(payload);
    testsupport::Process tool(TOLMIRA_UPGRADE, {"image", "configuration"}, i_directory.path(),
                              "tool");
    ASSERT_TRUE(tool.waitForOutput("C: 002 "));
    Controller controller(i_directory);
    const ProcessResult result = tool.wait();
    const std::string out = testsupport::Normalised(result.out);
    Transcript transcript;
    for (size_t at = out.find(ABSENT); at != std::string::npos; at = out.find(ABSENT, at + 1)) {
        transcript.notice(ABSENT);
    }
    AddOpening(transcript, 0, payload);
    transcript.notice("Page 0 sent successfully\n").notice("Page 1 sent successfully\n");
    ExpectRun(result, 0, transcript.notice("Done\n"));
    EXPECT_EQ(controller.report("upgrades"), 1);
}

TEST_F(DecisionTest, TakesAnyOddPresenceForAController) {
    writeImage(Payload(10));
    Region region;
    region.setWord(MAILBOX_TX_STATE, 3);
    Transcript transcript;
    AddOpening(transcript, 0, Payload(10));
    for (int attempt = 0; attempt < 5; ++attempt) {
        transcript.error("Failed to send YAMP message attempt " + std::to_string(attempt) + "\n");
    }
    transcript.error("Failed to send page 0\n")
        .error("Failed to upgrade Tolmira controller!\n")
        .notice("Done\n");
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
    EXPECT_EQ(region.word(MAILBOX_TX_STATE), 3U);
    EXPECT_EQ(region.word(MAILBOX_RX_STATE), 0U);
    EXPECT_EQ(region.word(MAILBOX_TX_FLAG), 0U) << "no byte was offered";
}

TEST_F(DecisionTest, NamesAnImageThatIsNotThere) {
    for (const std::string image : {"missing", "%n%s%d"}) {
        SCOPED_TRACE(image);
        expectRefused(image, Transcript()
                                 .notice("Controller is 0\n")
                                 .notice("File name is " + image + "\n")
                                 .notice("Done\n"));
    }
}

TEST_F(DecisionTest, RefusesMalformedImages) {
    for (const std::string& file :
         {std::string(), std::string(256, 'x') + "\n\n\n\n\n\nEND\n" + Payload(300)}) {
        i_directory.write("image", file);
        expectRefused("image", Transcript()
                                   .notice("Controller is 0\n")
                                   .notice("File name is image\n")
                                   .error("Error: Invalid TFI format, not upgrading\n")
                                   .notice("Done\n"));
    }
}

TEST_F(DecisionTest, RefusesADirectoryAsImage) {
    expectRefused(".", Transcript()
                           .notice("Controller is 0\n")
                           .notice("File name is .\n")
                           .error("Error: Invalid TFI format, not upgrading\n")
                           .notice("Done\n"));
}

TEST_F(DecisionTest, AcceptsAnyHeaderThatEndsInTime) {
    const std::string headers[] = {
        "Tolmira\r\n1\r\n2\r\n3\r\n4\r\n5\r\nEND\r\n",
        std::string(255, 'x') + "\nEND\n\n\n\n\nENDLESS\n",
        std::string("a\0b\n\n\n\n\n\n", 9) + "END" + std::string(252, ' ') + "\n",
    };
    const std::string payload = "\nEND\n" + Payload(255);
    for (const std::string& header : headers) {
        SCOPED_TRACE(header);
        writeImage(payload, header);
        Controller controller(i_directory);
        ExpectRun(upgrade(), 0, SuccessfulRun(payload, 0, header));
        EXPECT_EQ(controller.flash().substr(0, 256), payload.substr(0, 256));
    }
}

TEST_F(DecisionTest, RefusesMorePagesThanTheProtocolCounts) {
    writeImage(std::string(size_t{65536} * 256, '\0'));
    expectRefused("image", Transcript()
                               .notice("Controller is 0\n")
                               .notice("File name is image\n")
                               .error("Error: Image has 65536 pages, at most 65535 can be sent, "
                                      "not upgrading\n")
                               .notice("Done\n"));
}

// Nobody is behind this mailbox, so the run ends with the first byte that it tries to send.
TEST_F(DecisionTest, TriesTheLargestImageThatFits) {
    const std::string payload(size_t{65535} * 256, '\0');
    writeImage(payload);
    Region region;
    region.setWord(MAILBOX_TX_STATE, STATE_READY);
    const ProcessResult result = upgrade();
    Transcript opening;
    AddOpening(opening, 0, payload);
    EXPECT_EQ(testsupport::Normalised(result.out).rfind(opening.text(), 0), 0U) << result.out;
    EXPECT_EQ(result.exitValue, EXIT_NOT_UPGRADED);
}

}  // namespace
