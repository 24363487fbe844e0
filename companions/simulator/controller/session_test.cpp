#include "companions/simulator/controller/session.h"

#include <gmock/gmock.h>

#include <array>
#include <sstream>

#include "link/mailbox.h"

using testing::HasSubstr;

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;

const Bytes BEGIN = PackFrame(ID_UPGRADE_BEGIN, {});
const Bytes END = PackFrame(ID_UPGRADE_END, {});

/** A page without an opening message; it is answered with a bad result. */
const Bytes STRAY_PAGE = PackFrame(ID_FLASH_PAGE, {});

/** The test plays the host: it writes the words, and polls the session when it chooses. */
class SessionTest : public testing::Test {
  protected:
    SessionTest() { use({100, 19525}); }

    /** Announces a session that behaves like this, in a cleared mailbox. */
    void use(const Behaviour& behaviour, const Schedule& faults = {}) {
        i_plan.emplace(faults, i_events);
        i_session.emplace(MailboxPort(i_words.data()), i_conversation, *i_plan, i_events, behaviour,
                          [this] { i_revisionAtUpgrade = revision(); });
        i_session->clear();
        i_session->announce();
    }

    unsigned char word(unsigned int address) const {
        return static_cast<unsigned char>(i_words[address]);
    }
    unsigned int revision() const {
        return word(MAILBOX_REVISION_HIGH) * 256U + word(MAILBOX_REVISION_LOW);
    }
    bool poll(milliseconds now = {}) { return i_session->poll(now); }

    void connect() {
        i_words[MAILBOX_RX_STATE] = STATE_REQUESTED;
        i_words[MAILBOX_TX_STATE] = STATE_READY;
        poll();
        ASSERT_EQ(word(MAILBOX_RX_STATE), STATE_READY);
    }
    void disconnect() {
        i_words[MAILBOX_RX_STATE] = STATE_ABSENT;
        poll();
    }
    bool offer(uint8_t byte, milliseconds now = {}) {
        i_words[MAILBOX_TX_DATA] = byte;
        i_words[MAILBOX_TX_FLAG] = TX_BYTE_OFFERED;
        return poll(now);
    }
    void send(const Bytes& bytes) {
        for (const uint8_t byte : bytes) {
            offer(byte);
            ASSERT_EQ(word(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
        }
    }
    /** Takes bytes while they are offered. */
    Bytes receive() {
        Bytes bytes;
        while (word(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED) {
            bytes.push_back(word(MAILBOX_RX_DATA));
            i_words[MAILBOX_RX_FLAG] = RX_BYTE_TAKEN;
            poll();
        }
        return bytes;
    }

    std::array<uint32_t, 32> i_words{};
    std::ostringstream i_out;
    EventLog i_events{i_out, false};
    Flash i_flash;
    Conversation i_conversation{i_flash, i_events, std::nullopt};
    unsigned int i_revisionAtUpgrade = 0;
    std::optional<FaultPlan> i_plan;
    std::optional<Session> i_session;
};

const Schedule SLOW_AND_DYING = {{FaultKind::Slow, 9000, {HostMessage::Begin, 0, 1, 2}},
                                 {FaultKind::Die, std::nullopt, {HostMessage::Begin, 0, 1, 3}}};

TEST_F(SessionTest, AnnouncesItselfInAClearedMailbox) {
    i_words.fill(0xFFFFFFFF);
    i_session->clear();
    for (unsigned int address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        EXPECT_EQ(i_words[address], 0U) << address;
    }
    EXPECT_EQ(i_words[4], 0xFFFFFFFF);
    i_session->announce();
    EXPECT_EQ(i_words[MAILBOX_TX_STATE], uint32_t{STATE_REQUESTED});
    EXPECT_EQ(revision(), 100U);
    EXPECT_FALSE(poll()) << "no host, nothing to do";
}

TEST_F(SessionTest, ChangesTheRevisionBeforeItTakesTheLastByte) {
    connect();
    send(BEGIN);
    send(PackFrame(ID_UPGRADE_INFO, {0, 0, 0, 0}));
    send(Bytes(END.begin(), END.end() - 1));
    EXPECT_EQ(revision(), 100U);
    send({END.back()});
    EXPECT_EQ(i_revisionAtUpgrade, 100U) << "the flash is saved before the revision changes";
    EXPECT_EQ(revision(), 19525U);
}

TEST_F(SessionTest, ComesUpAgainAfterAResetOrNot) {
    for (const bool rearm : {true, false}) {
        use({100, 19525, rearm});
        connect();
        send(STRAY_PAGE);
        send({BEGIN[0], BEGIN[1]});
        std::fill_n(i_words.begin() + MAILBOX_RX_DATA, 6, 0);
        EXPECT_TRUE(poll());
        EXPECT_EQ(word(MAILBOX_RX_STATE), rearm ? STATE_READY : STATE_ABSENT);
        EXPECT_EQ(word(MAILBOX_TX_STATE), rearm ? STATE_REQUESTED : STATE_ABSENT);
        EXPECT_EQ(word(MAILBOX_RX_FLAG), 0) << "the old answer is dropped";
        EXPECT_EQ(offer(STRAY_PAGE[0]), rearm);
        EXPECT_EQ(word(MAILBOX_TX_FLAG), rearm ? TX_BYTE_TAKEN : TX_BYTE_OFFERED);
        EXPECT_EQ(i_session->resets(), 1U);
        EXPECT_EQ(i_session->finished(), !rearm);
    }
}

TEST_F(SessionTest, DistinguishesALeavingHostFromAReset) {
    connect();
    disconnect();
    i_session->idle(milliseconds(49));
    EXPECT_FALSE(i_session->finished());
    i_session->idle(milliseconds(50));
    EXPECT_TRUE(i_session->finished());
    EXPECT_EQ(i_events.findings(), 0U) << i_out.str();
}

TEST_F(SessionTest, DropsOrKeepsWhatTheLastHostDidNotRead) {
    for (const bool keeps : {false, true}) {
        use({100, 19525, true, keeps});
        connect();
        send(STRAY_PAGE);
        send({BEGIN[0]});
        disconnect();
        connect();
        EXPECT_EQ(word(MAILBOX_RX_FLAG), keeps ? RX_BYTE_OFFERED : RX_BYTE_TAKEN);
        send(STRAY_PAGE);
        EXPECT_EQ(receive().size(), keeps ? 18U : 9U);
        EXPECT_THAT(i_out.str(), HasSubstr("message broken off: another host has come"));
    }
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
    i_session->idle(milliseconds(1999));
    EXPECT_EQ(i_events.findings(), 0U);
    i_session->idle(milliseconds(2000));
    EXPECT_EQ(i_events.findings(), 1U);
    send(BEGIN);
    EXPECT_EQ(i_conversation.counts().begins, 1U);
}

TEST_F(SessionTest, ReportsNoFindingForItsOwnSilence) {
    use({100, 19525}, SLOW_AND_DYING);
    connect();
    send({BEGIN[0], BEGIN[1]});
    EXPECT_EQ(i_session->due(), std::nullopt);
    EXPECT_FALSE(offer(BEGIN[2], milliseconds(1000)));
    EXPECT_EQ(i_session->due(), milliseconds(10000));
    i_session->idle(milliseconds(2000));
    EXPECT_FALSE(poll(milliseconds(9999)));
    EXPECT_TRUE(poll(milliseconds(10000)));
    EXPECT_EQ(word(MAILBOX_TX_FLAG), TX_BYTE_TAKEN);
    EXPECT_EQ(i_events.findings(), 0U) << i_out.str();
}

TEST_F(SessionTest, TouchesNothingOnceDead) {
    use({100, 19525}, SLOW_AND_DYING);
    connect();
    send({BEGIN[0], BEGIN[1]});
    offer(BEGIN[2]);
    poll(milliseconds(9000));
    EXPECT_FALSE(offer(BEGIN[3], milliseconds(9000)));
    const auto words = i_words;
    EXPECT_TRUE(i_session->finished());
    EXPECT_FALSE(poll(milliseconds(20000)));
    i_session->withdraw();
    EXPECT_EQ(i_words, words);
    EXPECT_THAT(i_out.str(), HasSubstr("fault: die@begin.3\n"));
}

TEST_F(SessionTest, WithdrawsByItsPresenceAlone) {
    connect();
    i_session->withdraw();
    EXPECT_EQ(word(MAILBOX_TX_STATE), STATE_ABSENT);
    EXPECT_EQ(word(MAILBOX_RX_STATE), STATE_READY);
}

}  // namespace

}  // namespace controller
