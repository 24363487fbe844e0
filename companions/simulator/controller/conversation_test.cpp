#include "companions/simulator/controller/conversation.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;

Bytes PageBody(uint16_t number, uint8_t fill) {
    const uint16_t crc = PageCrc(Bytes(PAGE_SIZE, fill));
    const auto low = [](int value) { return static_cast<uint8_t>(value); };
    Bytes body = {low(number >> 8), low(number), low(crc), low(crc >> 8), 0, 0, 1, 0};
    body.insert(body.end(), PAGE_SIZE, fill);
    return body;
}

class ConversationTest : public testing::Test {
  protected:
    /** The result of the last byte; no earlier byte may have one. */
    ByteResult take(const Bytes& bytes) {
        ByteResult result;
        for (const uint8_t byte : bytes) {
            EXPECT_FALSE(result.answer.has_value() || result.upgraded);
            result = i_conversation.take(byte);
        }
        return result;
    }
    ByteResult say(uint16_t id, const Bytes& body = {}) { return take(PackFrame(id, body)); }

    /** The result byte of the answer to a page. */
    int verdict(const Bytes& pageBody) {
        const ByteResult result = say(ID_FLASH_PAGE, pageBody);
        return result.answer ? result.answer->bytes.back() : -1;
    }

    std::ostringstream i_out;
    EventLog i_events{i_out, true};
    Flash i_flash;
    Conversation i_conversation{i_flash, i_events, uint16_t{0x1234}};
};

TEST_F(ConversationTest, AnswersABadPageToo) {
    say(ID_UPGRADE_BEGIN);
    Bytes spoilt = PageBody(0, 7);
    spoilt[2] ^= 1;
    const ByteResult result = say(ID_FLASH_PAGE, spoilt);
    ASSERT_TRUE(result.answer);
    EXPECT_THAT(result.answer->bytes, ElementsAre(2, 0xDC, 0x2E, 0xA6, 0, 0, 0, 9, 1));
    EXPECT_THAT(i_out.str(), HasSubstr("finding: page 0: bad CRC\n"));
    Bytes wrongCount = PageBody(0, 7);
    wrongCount[7] = 1;
    EXPECT_EQ(verdict(wrongCount), static_cast<int>(PageResult::BadSize));
    EXPECT_EQ(verdict({0, 0}), static_cast<int>(PageResult::BadSize));
}

TEST_F(ConversationTest, CompletesNothingThatDoesNotFit) {
    const std::pair<Bytes, const char*> cases[] = {
        {{0, 0, 0x12, 0x34}, "finding: 0 pages announced, 1 received\n"},
        {{0, 2, 0x12, 0x34}, "finding: 2 pages announced, 1 received\n"},
        {{0, 1, 0x34, 0x12}, "finding: checksum 3412, expected 1234\n"},
        {{0, 1, 0x12}, "finding: upgrade information of 3 bytes\n"},
    };
    for (const auto& [info, finding] : cases) {
        i_out.str("");
        say(ID_UPGRADE_BEGIN);
        verdict(PageBody(0, 7));
        say(ID_UPGRADE_INFO, info);
        EXPECT_FALSE(say(ID_UPGRADE_END).upgraded) << finding;
        EXPECT_THAT(i_out.str(), HasSubstr(finding));
    }
    say(ID_UPGRADE_BEGIN);
    EXPECT_FALSE(say(ID_UPGRADE_END).upgraded) << "no information";
    EXPECT_EQ(i_conversation.counts().upgrades, 0U);
}

TEST_F(ConversationTest, ReportsWhatWasBrokenOff) {
    say(ID_UPGRADE_BEGIN);
    i_conversation.take(0x02);
    i_conversation.breakOff("test");
    EXPECT_THAT(i_out.str(), HasSubstr("finding: message broken off: test\n"));
    EXPECT_EQ(verdict(PageBody(0, 7)), 0) << "the broken-off byte is forgotten";
    i_conversation.close();
    EXPECT_THAT(i_out.str(), HasSubstr("finding: upgrade broken off after 1 pages\n"));
    say(9999);
    EXPECT_EQ(i_conversation.counts().unknown, 1U);
    EXPECT_EQ(i_events.findings(), 3U);
}

TEST_F(ConversationTest, ResynchronisesAfterCorruptBytes) {
    const std::pair<Bytes, const char*> cases[] = {
        {{0x02, 0xDD}, "2 bytes"},                                 // wrong second lead byte
        {{0x02}, "1 bytes"},                                       // first lead byte twice
        {{0x02, 0xDC, 0x2E, 0xA5, 0, 0, 0, 0x07}, "8 bytes"},      // length 7
        {{0x02, 0xDC, 0x2E, 0xA3, 0x08, 0, 0, 0}, "8 bytes"},      // length 128 MiB
        {{0x02, 0xDC, 0x2E, 0xA3, 255, 255, 255, 255}, "8 bytes"}  // all ones
    };
    for (const auto& [bytes, dropped] : cases) {
        i_out.str("");
        EXPECT_FALSE(take(bytes).complete) << dropped;
        EXPECT_TRUE(say(ID_UPGRADE_BEGIN).complete) << dropped;
        EXPECT_THAT(i_out.str(), HasSubstr("finding: " + std::string(dropped) + " belong to no"));
    }
}

}  // namespace

}  // namespace controller
