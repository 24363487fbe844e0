#include "companions/simulator/controller/conversation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;

Bytes PageBody(uint16_t number, uint8_t fill) {
    const uint16_t crc = PageCrc(Bytes(PAGE_SIZE, fill));
    Bytes body(8 + PAGE_SIZE, fill);
    body[0] = static_cast<uint8_t>(number >> 8);
    body[1] = static_cast<uint8_t>(number);
    body[2] = static_cast<uint8_t>(crc);
    body[3] = static_cast<uint8_t>(crc >> 8);
    body[4] = body[5] = body[7] = 0;
    body[6] = 1;
    return body;
}

class ConversationTest : public testing::Test {
  protected:
    /** What the last byte of the message led to; none before it may lead to anything. */
    ByteResult say(uint16_t id, const Bytes& body = {}) {
        ByteResult outcome;
        const Bytes frame = PackFrame(id, body);
        for (const uint8_t byte : frame) {
            EXPECT_FALSE(outcome.answer.has_value() || outcome.upgraded);
            outcome = i_conversation.take(byte);
        }
        return outcome;
    }

    /** The result byte that a page is answered with. */
    int verdict(const Bytes& pageBody) {
        const ByteResult outcome = say(ID_FLASH_PAGE, pageBody);
        return outcome.answer ? outcome.answer->bytes.back() : -1;
    }

    std::ostringstream i_out;
    EventLog i_events{i_out, true};
    Flash i_flash;
    Conversation i_conversation{i_flash, i_events, uint16_t{0x1234}};
};

TEST_F(ConversationTest, TakesAWholeUpgrade) {
    EXPECT_FALSE(say(ID_UPGRADE_BEGIN).answer);
    EXPECT_EQ(verdict(PageBody(0, 7)), 0);
    EXPECT_EQ(verdict(PageBody(1, 8)), 0);
    EXPECT_FALSE(say(ID_UPGRADE_INFO, {0, 2, 0x12, 0x34}).answer);
    EXPECT_TRUE(say(ID_UPGRADE_END).upgraded);
    EXPECT_EQ(i_conversation.checksum(), 0x1234);
    EXPECT_EQ(i_flash.pages(), 2U);
    i_conversation.close();
    EXPECT_EQ(i_events.findings(), 0U) << i_out.str();
}

TEST_F(ConversationTest, AnswersTheSameFrameWhateverTheVerdict) {
    say(ID_UPGRADE_BEGIN);
    Bytes spoilt = PageBody(0, 7);
    spoilt[2] ^= 1;
    const ByteResult outcome = say(ID_FLASH_PAGE, spoilt);
    ASSERT_TRUE(outcome.answer);
    EXPECT_THAT(outcome.answer->bytes, ElementsAre(2, 0xDC, 0x2E, 0xA6, 0, 0, 0, 9, 1));
    EXPECT_THAT(i_out.str(), HasSubstr("finding: page 0: bad CRC\n"));
}

TEST_F(ConversationTest, CountsTheSendsOfAPage) {
    say(ID_UPGRADE_BEGIN);
    EXPECT_EQ(say(ID_FLASH_PAGE, PageBody(0, 7)).answer->attempt, 1U);
    EXPECT_EQ(say(ID_FLASH_PAGE, PageBody(0, 7)).answer->attempt, 2U);
    const ByteResult next = say(ID_FLASH_PAGE, PageBody(1, 7));
    EXPECT_EQ(next.answer->attempt, 1U);
    EXPECT_EQ(next.answer->page, 1);
    EXPECT_EQ(i_conversation.counts().goodPages, 3U);
}

TEST_F(ConversationTest, DistrustsAPageThatContradictsItself) {
    say(ID_UPGRADE_BEGIN);
    Bytes wrongCount = PageBody(0, 7);
    wrongCount[7] = 1;
    EXPECT_EQ(verdict(wrongCount), static_cast<int>(PageResult::BadSize));
    EXPECT_EQ(verdict({0, 0}), static_cast<int>(PageResult::BadSize));
}

struct EndCase {
    const char* what;
    Bytes info;
    const char* finding;
};

TEST_F(ConversationTest, CompletesNothingThatDoesNotFit) {
    const EndCase cases[] = {
        {"fewer pages", {0, 0, 0x12, 0x34}, "finding: 0 pages told, 1 held\n"},
        {"more pages", {0, 2, 0x12, 0x34}, "finding: 2 pages told, 1 held\n"},
        {"other checksum", {0, 1, 0x34, 0x12}, "finding: checksum 3412, expected 1234\n"},
        {"short information", {0, 1, 0x12}, "finding: upgrade information of 3 bytes\n"},
    };
    for (const EndCase& c : cases) {
        SCOPED_TRACE(c.what);
        i_out.str("");
        say(ID_UPGRADE_BEGIN);
        verdict(PageBody(0, 7));
        say(ID_UPGRADE_INFO, c.info);
        EXPECT_FALSE(say(ID_UPGRADE_END).upgraded);
        EXPECT_THAT(i_out.str(), HasSubstr(c.finding));
    }
    say(ID_UPGRADE_BEGIN);
    EXPECT_FALSE(say(ID_UPGRADE_END).upgraded) << "no information";
    EXPECT_EQ(i_conversation.counts().upgrades, 0U);
}

TEST_F(ConversationTest, NotesWhatWasBrokenOff) {
    say(ID_UPGRADE_BEGIN);
    i_conversation.take(0x02);
    i_conversation.breakOff("test");
    EXPECT_THAT(i_out.str(), HasSubstr("finding: message broken off: test\n"));
    EXPECT_EQ(verdict(PageBody(0, 7)), 0) << "the broken-off byte is forgotten";
    i_conversation.close();
    EXPECT_THAT(i_out.str(), HasSubstr("finding: upgrade broken off behind page count 1\n"));
    say(9999);
    EXPECT_EQ(i_conversation.counts().unknown, 1U);
    EXPECT_EQ(i_events.findings(), 3U);
}

}  // namespace

}  // namespace controller
