#include "companions/simulator/controller/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>

#include "link/mailbox.h"

using testing::HasSubstr;

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;

const Bytes BEGIN = PackFrame(ID_UPGRADE_BEGIN, {});
const Bytes END = PackFrame(ID_UPGRADE_END, {});

/** A page that was never begun: it is answered, with a bad result. */
const Bytes STRAY_PAGE = PackFrame(ID_FLASH_PAGE, {});

/** The test is the host: it writes the words, and lets the session look when it chooses. */
class SessionTest : public testing::Test {
  protected:
    explicit SessionTest(bool rearm = true, const Schedule& faults = {}, bool keepsAnswers = false)
        : i_behaviour{100, 19525, rearm, keepsAnswers}, i_plan(faults, i_events) {
        i_words.fill(0);
    }

    void SetUp() override {
        i_session.clear();
        i_session.announce();
    }

    unsigned char word(unsigned int address) const {
        return static_cast<unsigned char>(i_words[address]);
    }
    unsigned int revision() const {
        return word(MAILBOX_REVISION_HIGH) * 256U + word(MAILBOX_REVISION_LOW);
    }

    void connect() {
        i_words[MAILBOX_RX_STATE] = STATE_REQUESTED;
        i_words[MAILBOX_TX_STATE] = STATE_READY;
        i_session.poll({});
        ASSERT_EQ(word(MAILBOX_RX_STATE), STATE_READY);
    }

    void send(const Bytes& bytes) {
        for (const uint8_t byte : bytes) {
            i_words[MAILBOX_TX_DATA] = byte;
            i_words[MAILBOX_TX_FLAG] = TX_BYTE_OFFERED;
            i_session.poll({});
            ASSERT_EQ(word(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
        }
    }

    /** Takes bytes while they are offered. */
    Bytes receive() {
        Bytes bytes;
        while (word(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED) {
            bytes.push_back(word(MAILBOX_RX_DATA));
            i_words[MAILBOX_RX_FLAG] = RX_BYTE_TAKEN;
            i_session.poll({});
        }
        return bytes;
    }

    void resetMailbox() {
        for (unsigned int address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
            i_words[address] = 0;
        }
    }

    std::array<uint32_t, 32> i_words{};
    std::ostringstream i_out;
    EventLog i_events{i_out, false};
    Flash i_flash;
    Conversation i_conversation{i_flash, i_events, std::nullopt};
    Behaviour i_behaviour;
    unsigned int i_revisionAtUpgrade = 0;
    FaultPlan i_plan;
    Session i_session{
        MailboxPort(i_words.data()), i_conversation, i_plan, i_events, i_behaviour, [this] {
            i_revisionAtUpgrade = revision();
        }};
};

class DeadAfterReset : public SessionTest {
  protected:
    DeadAfterReset() : SessionTest(false) {}
};

class KeepingAnswers : public SessionTest {
  protected:
    KeepingAnswers() : SessionTest(true, {}, true) {}
};

class SlowAndDying : public SessionTest {
  protected:
    SlowAndDying()
        : SessionTest(true, {{FaultKind::Slow, 9000, {HostMessage::Begin, 0, 1, 2}},
                             {FaultKind::Die, std::nullopt, {HostMessage::Begin, 0, 1, 3}}}) {}

    bool offer(uint8_t byte, milliseconds now) {
        i_words[MAILBOX_TX_DATA] = byte;
        i_words[MAILBOX_TX_FLAG] = TX_BYTE_OFFERED;
        return i_session.poll(now);
    }
};

TEST_F(SessionTest, AnnouncesItselfInAClearedMailbox) {
    i_words.fill(0xFFFFFFFF);
    i_session.clear();
    for (unsigned int address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        EXPECT_EQ(i_words[address], 0U) << address;
    }
    EXPECT_EQ(i_words[4], 0xFFFFFFFF);
    i_session.announce();
    EXPECT_EQ(i_words[MAILBOX_TX_STATE], uint32_t{STATE_REQUESTED});
    EXPECT_EQ(revision(), 100U);
    EXPECT_FALSE(i_session.poll({})) << "no host, nothing to do";
}

TEST_F(SessionTest, ChangesTheRevisionBeforeItTakesTheLastByte) {
    connect();
    send(BEGIN);
    send(PackFrame(ID_UPGRADE_INFO, {0, 0, 0, 0}));
    send(Bytes(END.begin(), END.end() - 1));
    EXPECT_EQ(revision(), 100U);
    send({END.back()});
    EXPECT_EQ(i_revisionAtUpgrade, 100U) << "the flash is saved in front of the revision";
    EXPECT_EQ(revision(), 19525U);
}

TEST_F(SessionTest, OffersTheNextByteOnlyWhenTheLastIsTaken) {
    connect();
    send(STRAY_PAGE);
    ASSERT_EQ(word(MAILBOX_RX_FLAG), RX_BYTE_OFFERED);
    EXPECT_EQ(word(MAILBOX_RX_DATA), 0x02);
    EXPECT_FALSE(i_session.poll({}));
    EXPECT_EQ(word(MAILBOX_RX_DATA), 0x02);
    EXPECT_EQ(receive(), PackFrame(ID_PAGE_RESULT, {static_cast<uint8_t>(PageResult::NotBegun)}));
}

TEST_F(SessionTest, ComesUpAgainAfterAReset) {
    connect();
    send(STRAY_PAGE);
    send({BEGIN[0], BEGIN[1]});
    resetMailbox();
    EXPECT_TRUE(i_session.poll({}));
    EXPECT_EQ(word(MAILBOX_RX_STATE), STATE_READY);
    EXPECT_EQ(word(MAILBOX_TX_STATE), STATE_REQUESTED);
    EXPECT_EQ(word(MAILBOX_RX_FLAG), 0) << "the old answer is dropped";
    send(STRAY_PAGE);
    EXPECT_EQ(receive().size(), 9U) << "the first byte waits for no taken one";
    EXPECT_EQ(i_session.resets(), 1U);
    EXPECT_FALSE(i_session.finished());
}

TEST_F(DeadAfterReset, LeavesTheMailboxAlone) {
    connect();
    resetMailbox();
    EXPECT_TRUE(i_session.poll({}));
    i_words[MAILBOX_TX_FLAG] = TX_BYTE_OFFERED;
    EXPECT_FALSE(i_session.poll({}));
    EXPECT_EQ(word(MAILBOX_TX_FLAG), TX_BYTE_OFFERED);
    EXPECT_EQ(word(MAILBOX_RX_STATE), 0);
    EXPECT_EQ(word(MAILBOX_TX_STATE), 0);
    EXPECT_TRUE(i_session.finished());
}

TEST_F(SessionTest, TellsALeavingHostFromAReset) {
    connect();
    i_words[MAILBOX_RX_STATE] = 0;
    i_session.poll({});
    i_session.idle(milliseconds(49));
    EXPECT_FALSE(i_session.finished());
    i_session.idle(milliseconds(50));
    EXPECT_TRUE(i_session.finished());
    EXPECT_EQ(i_events.findings(), 0U) << i_out.str();
}

TEST_F(SessionTest, StartsAfreshWithTheNextHost) {
    connect();
    send(STRAY_PAGE);
    send({BEGIN[0]});
    i_words[MAILBOX_RX_STATE] = 0;
    i_session.poll({});
    connect();
    EXPECT_EQ(word(MAILBOX_RX_FLAG), RX_BYTE_TAKEN) << "the stale byte is withdrawn";
    send(STRAY_PAGE);
    EXPECT_EQ(receive().size(), 9U);
    EXPECT_THAT(i_out.str(), HasSubstr("message broken off: another host has come"));
}

TEST_F(KeepingAnswers, GivesTheNextHostWhatTheLastOneDidNotRead) {
    connect();
    send(STRAY_PAGE);
    i_words[MAILBOX_RX_STATE] = 0;
    i_session.poll({});
    connect();
    send(STRAY_PAGE);
    EXPECT_EQ(receive().size(), 18U) << "both answers";
}

TEST_F(SessionTest, KeepsTheFirstByteOfAHostThatHasJustAsked) {
    i_words[MAILBOX_RX_STATE] = STATE_REQUESTED;
    i_words[MAILBOX_TX_STATE] = STATE_READY;
    send(BEGIN);
    EXPECT_EQ(i_conversation.counts().begins, 1U);
}

TEST_F(SessionTest, GivesUpOnAMessageThatStops) {
    connect();
    send({BEGIN[0], BEGIN[1]});
    i_session.idle(milliseconds(1999));
    EXPECT_EQ(i_events.findings(), 0U);
    i_session.idle(milliseconds(2000));
    EXPECT_EQ(i_events.findings(), 1U);
    send(BEGIN);
    EXPECT_EQ(i_conversation.counts().begins, 1U);
}

TEST_F(SlowAndDying, BlamesNoHostForItsOwnSilence) {
    connect();
    send({BEGIN[0], BEGIN[1]});
    EXPECT_EQ(i_session.due(), std::nullopt);
    EXPECT_FALSE(offer(BEGIN[2], milliseconds(1000)));
    EXPECT_EQ(i_session.due(), milliseconds(10000));
    i_session.idle(milliseconds(2000));
    EXPECT_FALSE(i_session.poll(milliseconds(9999)));
    EXPECT_TRUE(i_session.poll(milliseconds(10000)));
    EXPECT_EQ(word(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
    EXPECT_EQ(i_events.findings(), 0U) << i_out.str();
}

TEST_F(SlowAndDying, TouchesNothingOnceDead) {
    connect();
    send({BEGIN[0], BEGIN[1]});
    offer(BEGIN[2], milliseconds(0));
    i_session.poll(milliseconds(9000));
    EXPECT_FALSE(offer(BEGIN[3], milliseconds(9000)));
    const auto words = i_words;
    EXPECT_TRUE(i_session.finished());
    EXPECT_FALSE(i_session.poll(milliseconds(20000)));
    i_session.withdraw();
    EXPECT_EQ(i_words, words);
    EXPECT_THAT(i_out.str(), HasSubstr("fault: die@begin.3\n"));
}

TEST_F(SessionTest, LooksAtTheByteAloneAndWritesTheWholeWord) {
    connect();
    i_words[MAILBOX_TX_DATA] = 0xFFFFFF00U | BEGIN[0];
    i_words[MAILBOX_TX_FLAG] = 0xABCDE100U | TX_BYTE_OFFERED;
    EXPECT_TRUE(i_session.poll({}));
    EXPECT_EQ(i_words[MAILBOX_TX_FLAG], uint32_t{TX_BYTE_TAKEN});
}

TEST_F(SessionTest, WithdrawsByItsPresenceAlone) {
    connect();
    i_session.withdraw();
    EXPECT_EQ(word(MAILBOX_TX_STATE), STATE_ABSENT);
    EXPECT_EQ(word(MAILBOX_RX_STATE), STATE_READY);
}

}  // namespace

}  // namespace controller
