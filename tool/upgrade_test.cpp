#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "link/mailbox.h"
#include "tests/support/child.h"
#include "tests/support/faketime.h"
#include "tests/support/image.h"
#include "tests/support/recordingmailbox.h"
#include "tests/support/testdirectory.h"
#include "tests/support/transcript.h"
#include "tool/controllercheck.h"
#include "tool/createtolmiracomms.h"
#include "tool/pagetransfer.h"
#include "tool/upgradesequence.h"
#include "tool/versioninfo.h"

using testsupport::EagerFarSide;
using testsupport::ExpectedWire;
using testsupport::FakeTime;
using testsupport::Normalised;
using testsupport::RecordingMailbox;
using testsupport::TestDirectory;
using testsupport::Transcript;

namespace {

using namespace std::string_literals;

constexpr size_t BEGIN_FRAME = 8;
constexpr size_t PAGE_FRAME = 272;

const std::string GOOD = "\x02\xDC\x2E\xA6\0\0\0\x09\0"s;
const std::string BAD = "\x02\xDC\x2E\xA6\0\0\0\x09\x01"s;
const std::string NO_BODY = "\x02\xDC\x2E\xA6\0\0\0\x08"s;
const std::string OTHER_ID = "\x02\xDC\x2E\xA5\0\0\0\x09\0"s;
const std::string BAD_LEAD = "\x02\xDD\x2E\xA6\0\0\0\x09"s;

/** Answers each page in turn, the last answer over and over. */
class AnsweringFarSide : public EagerFarSide {
  public:
    AnsweringFarSide(RecordingMailbox& mailbox, std::vector<std::string> answers)
        : EagerFarSide(mailbox), i_answers(std::move(answers)) {
        std::reverse(i_answers.begin(), i_answers.end());
        onByte = [this] {
            if (fromHost.size() == BEGIN_FRAME + (i_pages + 1) * PAGE_FRAME) {
                ++i_pages;
                toHost += i_answers.back();
                if (i_answers.size() > 1) {
                    i_answers.pop_back();
                }
            }
        };
    }

  private:
    size_t i_pages = 0;
    std::vector<std::string> i_answers;
};

/** The lines that `body` logs, made alike, without the process' own exit. */
std::string LogOf(const std::function<void()>& body) {
    return Normalised(testsupport::RunInChild(body).out);
}

class UpgradeTest : public testing::Test {
  protected:
    std::string imageWithPayload(const std::string& payload) {
        return i_directory.write("image", testsupport::SHORTEST_HEADER + payload);
    }

    /** Upgrades over a far side that answers so; in a child, so that it tells by its log. */
    std::string upgrade(const std::string& image, const std::vector<std::string>& answers,
                        const std::function<void(const AnsweringFarSide&, bool)>& check) {
        return LogOf([&] {
            const FakeTime time({1, 0});
            RecordingMailbox mailbox;
            const AnsweringFarSide farSide(mailbox, answers);
            RouterCommWriter writer(&mailbox);
            RouterCommReader reader(&mailbox);
            const bool upgraded = UpgradeController(image.c_str(), writer, reader);
            check(farSide, upgraded);
            if (testing::Test::HasFailure()) {
                printf("the check failed\n");
            }
        });
    }

    TestDirectory i_directory;
};

TEST_F(UpgradeTest, SendsEveryByteOfTheConversation) {
    for (const size_t size : {2U, 3U, 255U, 256U, 258U, 259U, 511U, 512U, 514U}) {
        SCOPED_TRACE(size);
        const std::string payload = testsupport::Payload(size);
        const std::string log = upgrade(imageWithPayload(payload), {GOOD},
                                        [&](const AnsweringFarSide& farSide, bool upgraded) {
                                            EXPECT_TRUE(upgraded);
                                            EXPECT_EQ(farSide.fromHost, ExpectedWire(payload));
                                        });
        EXPECT_THAT(log, testing::Not(testing::HasSubstr("check failed")));
        EXPECT_THAT(log, testing::HasSubstr("\"File is open size " + std::to_string(size + 10) +
                                            " " + std::to_string((size + 255) / 256) + " pages\n"));
    }
}

TEST_F(UpgradeTest, ChecksumThatStraddlesTwoPagesCannotBeSent) {
    const std::string payload = testsupport::Payload(257);
    const std::string log = upgrade(
        imageWithPayload(payload), {GOOD}, [&](const AnsweringFarSide& farSide, bool upgraded) {
            EXPECT_FALSE(upgraded);
            EXPECT_EQ(farSide.fromHost, testsupport::BeginFrame() +
                                            testsupport::PageFrame(0, payload.substr(0, 256)));
        });
    EXPECT_THAT(log, testing::HasSubstr("\"Page 0 sent successfully\n\""));
    EXPECT_THAT(log, testing::HasSubstr("\"Failed to upgrade Tolmira controller!\n\""));
}

struct RetryCase {
    const char* name;
    std::vector<std::string> answers;
    std::string lines;  // one letter a line: see the test
    size_t pagesSent;
    bool delivered;
};

// s: sent successfully, u: did not send successfully, r: no response, p: page failed.
TEST_F(UpgradeTest, SendsAPageUpToFiveTimes) {
    const RetryCase cases[] = {
        {"good at once", {GOOD}, "s", 1, true},
        {"good on the fifth", {BAD, BAD, BAD, BAD, GOOD}, "uuuus", 5, true},
        {"never good", {BAD}, "uuuuup", 5, false},
        {"a stray answer leaves no line", {OTHER_ID, GOOD}, "s", 2, true},
        {"only stray answers", {OTHER_ID}, "p", 5, false},
        {"an answer without a verdict", {NO_BODY, GOOD}, "us", 2, true},
        {"a bad header", {BAD_LEAD, GOOD}, "rs", 2, true},
        {"two answers to one page", {BAD + GOOD, BAD}, "us", 2, true},
    };
    const std::string page = testsupport::ExpectedPage(testsupport::Payload(100), 0);
    for (const RetryCase& c : cases) {
        SCOPED_TRACE(c.name);
        Transcript expected;
        for (const char line : c.lines) {
            switch (line) {
                case 's':
                    expected.notice("Page 258 sent successfully\n");
                    break;
                case 'u':
                    expected.notice("Page 258 did not send successfully\n");
                    break;
                case 'r':
                    expected.error("Failed to get response message\n");
                    break;
                default:
                    break;  // the page's failure is its caller's to tell
            }
        }
        const std::string log = LogOf([&] {
            const FakeTime time({1, 0});
            RecordingMailbox mailbox;
            AnsweringFarSide farSide(mailbox, c.answers);
            RouterCommWriter writer(&mailbox);
            RouterCommReader reader(&mailbox);
            writer.sendBytes("12345678", BEGIN_FRAME);
            EXPECT_EQ(SendFlashPageToTolmira({page.begin(), page.end()}, 258, writer, reader),
                      c.delivered);
            EXPECT_EQ((farSide.fromHost.size() - BEGIN_FRAME) / PAGE_FRAME, c.pagesSent);
            EXPECT_EQ(farSide.fromHost.substr(BEGIN_FRAME, PAGE_FRAME),
                      testsupport::PageFrame(258, page));
            EXPECT_EQ(farSide.fromHost.substr(farSide.fromHost.size() - PAGE_FRAME),
                      testsupport::PageFrame(258, page));
            if (testing::Test::HasFailure()) {
                printf("the check failed\n");
            }
        });
        EXPECT_EQ(log, expected.text());
    }
}

// The byte times out once; the attempts behind it find the mailbox down and fail at once.
TEST_F(UpgradeTest, APageThatIsNotTakenFailsByOneTimeOut) {
    const std::string image = imageWithPayload(testsupport::Payload(600));
    const std::string log = LogOf([&] {
        FakeTime time({1, 0});
        time.beforeReading = [&] { time.advance({0, 500000}); };
        RecordingMailbox mailbox;
        AnsweringFarSide farSide(mailbox, {GOOD});
        farSide.takes = BEGIN_FRAME + PAGE_FRAME + 100;
        RouterCommWriter writer(&mailbox);
        RouterCommReader reader(&mailbox);
        EXPECT_FALSE(UpgradeController(image.c_str(), writer, reader));
        EXPECT_EQ(farSide.fromHost.size(), farSide.takes);
        if (testing::Test::HasFailure()) {
            printf("the check failed\n");
        }
    });
    Transcript expected;
    expected.notice("File name is " + image + "\n")
        .notice("Checksum is " + testsupport::ChecksumText(testsupport::Payload(600)) + "\n")
        .notice("File is open size 610 3 pages\n")
        .notice("Page 0 sent successfully\n");
    for (const char attempt : {'0', '1', '2', '3', '4'}) {
        expected.error("Failed to send YAMP message attempt "s + attempt + "\n");
    }
    expected.error("Failed to send page 1\n")
        .error("Failed to upgrade Tolmira controller!\n")
        .notice("Done\n");
    EXPECT_EQ(log, expected.text());
}

TEST(WaitForController, TakesSixtyPollsAndSleepsBehindEachFailedOne) {
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

struct RevisionCase {
    unsigned char high;
    unsigned char low;
    int revision;
    bool needsUpgrade;
};

TEST(ControllerNeedsUpgrade, ReadsTheRevisionTwiceAndLogsTheFirst) {
    const RevisionCase cases[] = {{0x4C, 0x45, 19525, false},
                                  {0x4C, 0x44, 19524, true},
                                  {0x4C, 0x46, 19526, true},
                                  {0xFF, 0xFF, 65535, true}};
    for (const RevisionCase& c : cases) {
        Transcript expected;
        expected.notice("Controller is " + std::to_string(c.revision) + "\n");
        EXPECT_EQ(LogOf([&] {
                      RecordingMailbox mailbox;
                      mailbox.bytes[MAILBOX_REVISION_HIGH] = c.high;
                      mailbox.bytes[MAILBOX_REVISION_LOW] = c.low;
                      RouterCommReader reader(&mailbox);
                      if (ControllerNeedsUpgrade(reader) != c.needsUpgrade ||
                          mailbox.takeAccesses() != "R17 R16 R17 R16") {
                          printf("the check was wrong\n");
                      }
                  }),
                  expected.text());
    }
    EXPECT_TRUE(LogOf([] {
                    RecordingMailbox mailbox;
                    int reads = 0;
                    mailbox.beforeRead = [&](unsigned int) {
                        mailbox.bytes[MAILBOX_REVISION_HIGH] = 0x4C;
                        mailbox.bytes[MAILBOX_REVISION_LOW] = ++reads <= 2 ? 0x45 : 0x46;
                    };
                    RouterCommReader reader(&mailbox);
                    printf(ControllerNeedsUpgrade(reader) ? "changed\n" : "");
                }).find("changed") != std::string::npos);
}

TEST(VersionInfo, IsThisBuild) {
    const VersionInfo& info = GetVersionInfo();
    EXPECT_EQ(info.getMajor(), 6);
    EXPECT_EQ(info.getMinor(), 5);
    EXPECT_EQ(info.getPatch(), 0);
    EXPECT_EQ(info.getRevision(), 19525);
    EXPECT_EQ(info.getBranch(), "BR-Kestane");
    EXPECT_EQ(info.getText2(), "");
    EXPECT_EQ(info.getText3(), "C");
    EXPECT_EQ(info.getBuildStamp(), "Compiled: Fri Nov  1 13:20:04 EDT 2024");
}

TEST(CreateTolmiraComms, StopsOnAModeWithoutADesign) {
    for (const e_SwitcherMode mode : GetAllSwitcherModes()) {
        std::vector<uint32_t> region(0x3000 / 4);
        const auto result = testsupport::RunInChild([&] {
            RouterCommsInterface* comms = CreateTolmiraComms(region.data(), mode);
            comms->writeAddress(5, 0x5A);
            printf("%02x", region[(0x2800 + 4 * 5) / 4]);
            delete comms;
        });
        if (mode <= e_SwitcherMode_2_5ME_3G) {
            EXPECT_EQ(result.out, "5a");
        } else {
            Transcript expected;
            expected.critical("Unknown SwitcherMode "s + EnumConverter::EnumToString(mode))
                .assertion("false");
            EXPECT_EQ(Normalised(result.out), expected.text());
            EXPECT_EQ(result.signal, SIGABRT);
        }
    }
}

}  // namespace
