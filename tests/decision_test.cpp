/** Whether the tool upgrades: revision, force, presence, and the image's header. */
#include "tests/upgradefixture.h"

using testsupport::Payload;
using testsupport::ProcessResult;
using testsupport::SHORTEST_HEADER;
using testsupport::Transcript;

namespace {

constexpr const char* ABSENT = "Controller isn't there, sleeping for 1 second\n";

class DecisionTest : public UpgradeTest {};

TEST_F(DecisionTest, UpgradesItsOwnRevisionOnlyIfForced) {
    const std::string payload = Payload(1000);
    writeImage(payload);
    Controller controller(i_directory);
    ExpectRun(upgrade(), 0, SuccessfulRun(payload));
    ExpectRun(run({"no such image", "configuration"}), EXIT_NOT_UPGRADED, AlreadyCurrent());
    ExpectRun(run({"-f", "image", "configuration"}), 0, SuccessfulRun(payload, TOOL_REVISION));
    EXPECT_EQ(controller.stop().exitValue, 0) << controller.stop().out;
    EXPECT_EQ(controller.report("begin messages"), 2);
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
    AddSentPages(transcript, 0, 2);
    ExpectRun(result, 0, transcript.notice("Done\n"));
    EXPECT_EQ(controller.report("upgrades"), 1);
}

struct RefusedImage {
    std::string name;
    /** Contents of the file "image". */
    std::string contents;
    /** Null: the run shows no error. */
    const char* error;
};

TEST_F(DecisionTest, SendsNothingOfAnUnusableImage) {
    constexpr const char* malformed = "Error: Invalid TFI format, not upgrading\n";
    const RefusedImage cases[] = {
        {"missing", "", nullptr},
        {"%n%s%d", "", nullptr},
        {".", "", malformed},
        {"image", "", malformed},
        {"image", std::string(256, 'x') + SHORTEST_HEADER + Payload(300), malformed},
        {"image", SHORTEST_HEADER + std::string(size_t{65536} * 256, '\0'),
         "Error: Image has 65536 pages, at most 65535 can be sent, not upgrading\n"},
    };
    Controller controller(i_directory);
    for (const RefusedImage& c : cases) {
        SCOPED_TRACE(c.name);
        i_directory.write("image", c.contents);
        Transcript transcript;
        transcript.notice("Controller is 0\n").notice("File name is " + c.name + "\n");
        if (c.error != nullptr) {
            transcript.error(c.error);
        }
        ExpectRun(run({c.name, "configuration"}), EXIT_NOT_UPGRADED, transcript.notice("Done\n"));
    }
    EXPECT_EQ(controller.report("findings"), 0) << controller.stop().out;
    EXPECT_EQ(controller.report("begin messages"), 0);
}

}  // namespace
