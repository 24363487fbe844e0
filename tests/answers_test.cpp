/** How the tool treats the answers that a controller may give, and their absence. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using testsupport::Payload;
using testsupport::Region;
using testsupport::Transcript;

namespace {

const std::string GOOD = "Page 1 sent successfully\n";
const std::string BAD = "Page 1 did not send successfully\n";
const std::string NO_RESPONSE = "Failed to get response message\n";

std::string SendFailed(int attempt) {
    return "Failed to send YAMP message attempt " + std::to_string(attempt) + "\n";
}

/** Faults at page 1, the second of three. */
struct AnswerCase {
    const char* faults;
    /** Frames of page 1 that reach the controller. */
    long sends;
    /** Lines about page 1; GOOD as the last one means that the upgrade succeeds. */
    std::vector<std::string> lines;
};

class AnswersTest : public UpgradeTest {
  protected:
    AnswersTest() { writeImage(i_payload); }

    void expectRun(const AnswerCase& c) const {
        SCOPED_TRACE(c.faults);
        const bool good = c.lines.back() == GOOD;
        Transcript transcript;
        AddOpening(transcript, 0, i_payload);
        AddSentPages(transcript, 0, 1);
        for (const std::string& line : c.lines) {
            line.rfind("Failed", 0) == 0 ? transcript.error(line) : transcript.notice(line);
        }
        good ? AddSentPages(transcript, 2, 3) : AddFailedPage(transcript, 1);
        Controller controller(i_directory, {"--faults", c.faults});
        ExpectRun(upgrade(), good ? 0 : EXIT_NOT_UPGRADED, transcript.notice("Done\n"));
        EXPECT_EQ(controller.report("page messages"), 1 + c.sends + (good ? 1 : 0));
        EXPECT_EQ(controller.report("info messages"), good ? 1 : 0);
        EXPECT_EQ(controller.report("upgrades"), good ? 1 : 0);
        // An attempt that fails without a frame finds the send direction down.
        EXPECT_EQ(controller.report("resets"), c.sends < static_cast<long>(c.lines.size()) ? 1 : 0);
        EXPECT_EQ(controller.stop().exitValue, good ? 0 : 1) << "its own faults are not findings";
    }

    std::string i_payload = Payload(700);
};

TEST_F(AnswersTest, SendsThePageUpToFiveTimes) {
    const AnswerCase cases[] = {
        {"result=1@1.1", 2, {BAD, GOOD}},
        {"result=255@1.1", 2, {BAD, GOOD}},
        {"body=0@1.1", 2, {BAD, GOOD}},
        {"body=3@1.1 result=1@1.1", 2, {BAD, GOOD}},
        {"body=4@1.1", 1, {GOOD}},
        // An answer of another kind costs an attempt without a line.
        {"id=0x2EA3@1.1", 2, {GOOD}},
        {"body=0@1.1 id=0x2FA6@1.1", 2, {GOOD}},
        // The host reads only the header of a broken frame, so these answers have nothing else.
        {"body=0@1.1 lead=0x03DC@1.1", 2, {NO_RESPONSE, GOOD}},
        {"body=0@1.1 lead=0x02DD@1.1", 2, {NO_RESPONSE, GOOD}},
        {"body=0@1.1 length=7@1.1", 2, {NO_RESPONSE, GOOD}},
        {"body=0@1.1 length=0@1.1", 2, {NO_RESPONSE, GOOD}},
        {"body=0@1.1 length=0x8000001@1.1", 2, {NO_RESPONSE, GOOD}},
        {"body=0@1.1 length=0xFFFFFFFF@1.1", 2, {NO_RESPONSE, GOOD}},
        {"result=1@1.1 result=1@1.2 result=1@1.3 result=1@1.4", 5, {BAD, BAD, BAD, BAD, GOOD}},
        {"result=1@1.1 result=1@1.2 result=1@1.3 result=1@1.4 result=1@1.5",
         5,
         {BAD, BAD, BAD, BAD, BAD}},
        // A receive direction that isn't up fails at once.
        {"state7=3@1.1.0", 5, {NO_RESPONSE, NO_RESPONSE, NO_RESPONSE, NO_RESPONSE, NO_RESPONSE}},
    };
    for (const AnswerCase& c : cases) {
        expectRun(c);
    }
}

// On the real clock. A timeout takes the other direction down too, so the rest fails at once.
TEST_F(AnswersTest, WaitsForALateAnswerUpToItsLimit) {
    expectRun({"late=2500@1.1.8", 1, {GOOD}});
    expectRun({"late=4500@1.1.8 norearm",
               1,
               {NO_RESPONSE, SendFailed(1), SendFailed(2), SendFailed(3), SendFailed(4)}});
}

/** A mailbox that no controller serves. */
struct DeafCase {
    std::size_t payloadSize;
    unsigned char sendState;
    uint32_t flagAfter;
    uint32_t sendStateAfter;
};

TEST_F(AnswersTest, FailsIfNoByteIsTaken) {
    constexpr std::size_t largest = std::size_t{65535} * 256;
    const DeafCase cases[] = {
        // The first byte times out. A reset clears bits 0 to 8 of each word and no others.
        {100, STATE_REQUESTED, 0xABCDE000, STATE_ABSENT},
        // With a state that takes no bytes, none is offered. Any state but 0 is a controller.
        {100, 3, 0xABCDE100, 3},
        {largest, 3, 0xABCDE100, 3},
    };
    for (const DeafCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.payloadSize << ' ' << int{c.sendState});
        const std::string payload = Payload(c.payloadSize);
        writeImage(payload);
        Region region;
        region.setWord(MAILBOX_TX_STATE, c.sendState);
        region.setWord(MAILBOX_TX_FLAG, 0xABCDE100);
        Transcript transcript;
        AddOpening(transcript, 0, payload);
        for (int attempt = 0; attempt < 5; ++attempt) {
            transcript.error(SendFailed(attempt));
        }
        AddFailedPage(transcript, 0);
        ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript.notice("Done\n"));
        for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_DATA; ++address) {
            EXPECT_EQ(region.word(address), 0U) << address;
        }
        EXPECT_EQ(region.word(MAILBOX_TX_FLAG), c.flagAfter);
        EXPECT_EQ(region.word(MAILBOX_TX_STATE), c.sendStateAfter);
    }
}

}  // namespace
