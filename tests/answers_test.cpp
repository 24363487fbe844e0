/** How the tool takes the answers that a controller may give, and their absence. */
#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/support/scriptedfarside.h"
#include "tests/upgradefixture.h"

using testsupport::BeginFrame;
using testsupport::ExpectedPage;
using testsupport::ExpectedWire;
using testsupport::PageAnswer;
using testsupport::PageFrame;
using testsupport::Payload;
using testsupport::Region;
using testsupport::ScriptedFarSide;
using testsupport::Transcript;

namespace {

constexpr const char* GOOD = "Page 0 sent successfully\n";
constexpr const char* BAD = "Page 0 did not send successfully\n";
constexpr const char* NO_RESPONSE = "Failed to get response message\n";

const std::string LEAD("\x02\xDC", 2);
const std::string RESULT_ID("\x2E\xA6", 2);

std::string Length(size_t length) {
    return {static_cast<char>(length >> 24), static_cast<char>(length >> 16),
            static_cast<char>(length >> 8), static_cast<char>(length)};
}

std::string SendFailed(int attempt) {
    return "Failed to send YAMP message attempt " + std::to_string(attempt) + "\n";
}

class AnswersTest : public UpgradeTest {
  protected:
    AnswersTest() { writeImage(i_payload); }

    /** The lines up to the only page's first attempt. */
    Transcript opening() const {
        Transcript transcript;
        AddOpening(transcript, 0, i_payload);
        return transcript;
    }

    /** The lines of a page that was not delivered. */
    static Transcript failed(Transcript transcript) {
        return transcript.error("Failed to send page 0\n")
            .error("Failed to upgrade Tolmira controller!\n")
            .notice("Done\n");
    }

    /** What the host says when its page goes out this often and never gets a good answer. */
    std::string wireOfSends(int sends) const {
        std::string bytes = BeginFrame();
        for (int i = 0; i < sends; ++i) {
            bytes += PageFrame(0, ExpectedPage(i_payload, 0));
        }
        return bytes;
    }

    /** The same, the last of the sends with a good answer. */
    std::string wireOfSuccess(int sends) const {
        return wireOfSends(sends) + ExpectedWire(i_payload).substr(wireOfSends(1).size());
    }

    std::string i_payload = Payload(100);
    Region i_region;
};

struct RetryCase {
    const char* what;
    std::string answer;
    /** Adds the line about it, where there is one. */
    void (*log)(Transcript&);
};

void LogNothing(Transcript& /*transcript*/) {}
void LogBad(Transcript& transcript) {
    transcript.notice(BAD);
}
void LogNoResponse(Transcript& transcript) {
    transcript.error(NO_RESPONSE);
}

// An answer that is no good verdict costs an attempt and leaves both sides in step.
TEST_F(AnswersTest, SendsThePageAgainBehindABadAnswer) {
    const RetryCase cases[] = {
        {"result 1", PageAnswer(1), LogBad},
        {"result 255", PageAnswer(255), LogBad},
        {"empty body", LEAD + RESULT_ID + Length(8), LogBad},
        {"bad result, longer body", LEAD + RESULT_ID + Length(11) + std::string("\1\0\0", 3),
         LogBad},
        {"id of a page", LEAD + std::string("\x2E\xA3", 2) + Length(9) + std::string(1, '\0'),
         LogNothing},
        {"unknown id", LEAD + std::string("\x2F\xA6", 2) + Length(8), LogNothing},
        {"first lead byte", std::string("\x03\xDC", 2) + RESULT_ID + Length(8), LogNoResponse},
        {"second lead byte", std::string("\x02\xDD", 2) + RESULT_ID + Length(8), LogNoResponse},
        {"length 7", LEAD + RESULT_ID + Length(7), LogNoResponse},
        {"length 0", LEAD + RESULT_ID + Length(0), LogNoResponse},
        {"length above the limit", LEAD + RESULT_ID + Length(0x8000001), LogNoResponse},
        {"length of all ones", LEAD + RESULT_ID + Length(0xFFFFFFFF), LogNoResponse},
    };
    for (const RetryCase& c : cases) {
        SCOPED_TRACE(c.what);
        ScriptedFarSide farSide(i_region, {}, [&](size_t number, const std::string&) {
            return number == 1 ? c.answer : number == 2 ? PageAnswer(0) : std::string();
        });
        Transcript transcript = opening();
        c.log(transcript);
        ExpectRun(upgrade(), 0, transcript.notice(GOOD).notice("Done\n"));
        EXPECT_EQ(farSide.stop(), wireOfSuccess(2));
    }
}

TEST_F(AnswersTest, TakesAGoodResultWhateverFollowsInTheBody) {
    ScriptedFarSide farSide(i_region, {}, [](size_t number, const std::string&) {
        return number == 1 ? LEAD + RESULT_ID + Length(12) + std::string("\0\1\2\3", 4)
                           : std::string();
    });
    ExpectRun(upgrade(), 0, opening().notice(GOOD).notice("Done\n"));
    EXPECT_EQ(farSide.stop(), wireOfSuccess(1));
}

TEST_F(AnswersTest, DeliversWithTheFifthAttempt) {
    ScriptedFarSide farSide(i_region, {}, [](size_t number, const std::string&) {
        return number == 0 || number > 5 ? std::string() : PageAnswer(number == 5 ? 0 : 1);
    });
    Transcript transcript = opening().notice(BAD).notice(BAD).notice(BAD).notice(BAD);
    ExpectRun(upgrade(), 0, transcript.notice(GOOD).notice("Done\n"));
    EXPECT_EQ(farSide.stop(), wireOfSuccess(5));
}

TEST_F(AnswersTest, GivesUpBehindTheFifthAttempt) {
    ScriptedFarSide farSide(i_region, {}, [](size_t number, const std::string&) {
        return number == 0 ? std::string() : PageAnswer(1);
    });
    Transcript transcript = opening();
    transcript.notice(BAD).notice(BAD).notice(BAD).notice(BAD).notice(BAD);
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, failed(transcript));
    EXPECT_EQ(farSide.stop(), wireOfSends(5)) << "nothing closes the upgrade";
}

TEST_F(AnswersTest, StopsAtThePageThatFails) {
    const std::string payload = Payload(5120);
    writeImage(payload);
    ScriptedFarSide farSide(i_region, {}, [](size_t number, const std::string&) {
        return number == 0 ? std::string() : PageAnswer(number <= 10 ? 0 : 1);
    });
    Transcript transcript;
    AddOpening(transcript, 0, payload);
    for (int page = 0; page < 10; ++page) {
        transcript.notice("Page " + std::to_string(page) + " sent successfully\n");
    }
    for (int attempt = 0; attempt < 5; ++attempt) {
        transcript.notice("Page 10 did not send successfully\n");
    }
    transcript.error("Failed to send page 10\n")
        .error("Failed to upgrade Tolmira controller!\n")
        .notice("Done\n");
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, transcript);
}

TEST_F(AnswersTest, FailsAtOnceWithoutTheReceiveDirection) {
    ScriptedFarSide::FarSideBehaviour behaviour;
    behaviour.connects = false;
    ScriptedFarSide farSide(i_region, behaviour, [](size_t, const std::string&) { return ""; });
    Transcript transcript = opening();
    for (int attempt = 0; attempt < 5; ++attempt) {
        transcript.error(NO_RESPONSE);
    }
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, failed(transcript));
    EXPECT_EQ(farSide.stop(), wireOfSends(5));
    EXPECT_EQ(i_region.byte(MAILBOX_TX_STATE), STATE_READY) << "no reset";
}

// The other directions are down behind the time-out, so the rest of the attempts fail at once.
TEST_F(AnswersTest, ResetsTheMailboxWhenNoAnswerComes) {
    for (const std::string& answer : {std::string(), PageAnswer(0).substr(0, 8)}) {
        SCOPED_TRACE(answer.size());
        ScriptedFarSide farSide(i_region, {}, [&](size_t number, const std::string&) {
            return number == 1 ? answer : std::string();
        });
        Transcript transcript = opening().error(NO_RESPONSE);
        for (int attempt = 1; attempt < 5; ++attempt) {
            transcript.error(SendFailed(attempt));
        }
        ExpectRun(upgrade(), EXIT_NOT_UPGRADED, failed(transcript));
        EXPECT_EQ(farSide.stop(), wireOfSends(1));
        for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
            EXPECT_EQ(i_region.word(address), 0U) << address;
        }
    }
}

// On the real clock: inside the limit the answer is only late; across it the host gives up, and
// what comes then goes to nobody.
TEST_F(AnswersTest, WaitsForALateAnswerUpToItsLimit) {
    writeImage(Payload(300));
    Controller late(i_directory, {"--faults", "late=2500@0.1.8 result=1@1.1"});
    Transcript transcript;
    AddOpening(transcript, 0, Payload(300));
    transcript.notice(GOOD).notice("Page 1 did not send successfully\n");
    ExpectRun(upgrade(), 0, transcript.notice("Page 1 sent successfully\n").notice("Done\n"));
    EXPECT_EQ(late.stop().exitValue, 0) << "what it did wrong itself is no finding";
    EXPECT_EQ(late.report("faults"), 2);

    writeImage(i_payload);
    Controller tooLate(i_directory, {"--faults", "late=4500@0.1.8 norearm"});
    transcript = opening().error(NO_RESPONSE);
    for (int attempt = 1; attempt < 5; ++attempt) {
        transcript.error(SendFailed(attempt));
    }
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, failed(transcript));
    EXPECT_EQ(tooLate.stop().exitValue, 1);
    EXPECT_EQ(tooLate.report("faults"), 2);
    EXPECT_EQ(tooLate.report("resets"), 1);
}

TEST_F(AnswersTest, ResetsTheMailboxWhenNoByteIsTaken) {
    i_region.setWord(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_region.setWord(MAILBOX_TX_FLAG, 0xABCDE100);
    Transcript transcript = opening();
    for (int attempt = 0; attempt < 5; ++attempt) {
        transcript.error(SendFailed(attempt));
    }
    ExpectRun(upgrade(), EXIT_NOT_UPGRADED, failed(transcript));
    for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        EXPECT_EQ(i_region.byte(address), 0U) << address;
    }
    EXPECT_EQ(i_region.word(MAILBOX_TX_FLAG), 0xABCDE000U);
}

}  // namespace
