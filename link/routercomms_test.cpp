#include "link/routercomms.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <type_traits>

#include "link/mailbox.h"
#include "tests/support/faketime.h"
#include "tests/support/scriptedmailbox.h"

using testsupport::EagerFarSide;
using testsupport::FakeTime;
using testsupport::RecordingMailbox;

namespace {

static_assert(!std::is_copy_constructible_v<RouterCommReader>);

const std::string RESET = "W5=0 W6=0 W7=0 W8=0 W9=0 W10=0";

/** A byte on its way: the bytes of the mailbox in front of it and all accesses that it makes. */
struct SendCase {
    const char* name;
    unsigned char state;
    unsigned char flagAfterOffer;
    bool result;
    std::string accesses;
};

TEST(RouterCommWriter, SendsAByteByTheHandshake) {
    const SendCase cases[] = {
        {"announced", 1, 35, true, "R10 W10=2 R10 W8=165 W9=36 R9"},
        {"taken over", 2, 35, true, "R10 R10 W8=165 W9=36 R9"},
        {"absent", 0, 35, false, "R10 R10"},
        {"odd state", 3, 35, false, "R10 R10"},
    };
    for (const SendCase& c : cases) {
        SCOPED_TRACE(c.name);
        const FakeTime time({1000, 999999});
        RecordingMailbox mailbox;
        mailbox.bytes[MAILBOX_TX_STATE] = c.state;
        mailbox.bytes[MAILBOX_TX_FLAG] = 35;  // of the byte before, not yet overwritten
        mailbox.afterWrite = [&](unsigned int address) {
            if (address == MAILBOX_TX_FLAG) {
                mailbox.bytes[address] = c.flagAfterOffer;
            }
        };
        EXPECT_EQ(RouterCommWriter(&mailbox).sendByte(165), c.result);
        EXPECT_EQ(mailbox.takeAccesses(), c.accesses);
        // Once in front of the polling, and only where there is one.
        EXPECT_EQ(time.readings, c.result ? 1 : 0);
    }
}

TEST(RouterCommReader, ReadsAByteByTheHandshake) {
    RecordingMailbox mailbox;
    mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
    mailbox.bytes[MAILBOX_RX_DATA] = 77;
    mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
    unsigned char byte = 0;
    {
        RouterCommReader reader(&mailbox);
        EXPECT_TRUE(reader.readByte(&byte));
        EXPECT_EQ(byte, 77);
        EXPECT_EQ(mailbox.takeAccesses(), "R7 R6 R5 W6=63");
    }
    EXPECT_EQ(mailbox.takeAccesses(), "W7=0");
}

TEST(RouterCommReader, FailsAtOnceWhenTheDirectionIsNotUp) {
    for (const int state : {0, 1, 3}) {
        RecordingMailbox mailbox;
        mailbox.bytes[MAILBOX_RX_STATE] = static_cast<unsigned char>(state);
        mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
        RouterCommReader reader(&mailbox);
        unsigned char byte = 99;
        EXPECT_FALSE(reader.readByte(&byte));
        EXPECT_EQ(byte, 99);
        EXPECT_EQ(mailbox.takeAccesses(), "R7");
    }
}

/**
 * A wait that polls `flag` on a clock that stands at `start` and moves to `late` after the first
 * reading. With `matchesOnPoll`, counted from 1, the far side answers in front of that poll.
 */
struct WaitCase {
    const char* name;
    timeval start;
    timeval late;
    int matchesOnPoll;
    bool result;
    int polls;
};

void ExpectWait(const WaitCase& c, unsigned int flag, unsigned char match,
                const std::function<bool(RouterCommWriter&, RouterCommReader&)>& transfer) {
    SCOPED_TRACE(c.name);
    FakeTime time(c.start);
    time.beforeReading = [&] {
        if (time.readings == 1) {
            time.now = c.late;
        }
    };
    RecordingMailbox mailbox;
    mailbox.bytes.fill(7);
    mailbox.bytes[MAILBOX_TX_STATE] = STATE_READY;
    mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
    int polls = 0;
    mailbox.beforeRead = [&](unsigned int address) {
        if (address == flag) {
            ASSERT_LT(polls, 100);  // an endless wait
            if (++polls == c.matchesOnPoll) {
                mailbox.bytes[flag] = match;
            } else if (polls == 50) {
                time.now.tv_sec += 100;  // for the cases that would wait for ever
            }
        }
    };
    RouterCommWriter writer(&mailbox);
    RouterCommReader reader(&mailbox);
    EXPECT_EQ(transfer(writer, reader), c.result);
    EXPECT_EQ(polls, c.polls);
    const std::string accesses = mailbox.takeAccesses();
    const bool reset =
        accesses.size() > RESET.size() && accesses.substr(accesses.size() - RESET.size()) == RESET;
    EXPECT_EQ(reset, !c.result) << accesses;
    EXPECT_EQ(mailbox.bytes[16], 7);
    EXPECT_EQ(mailbox.bytes[17], 7);
}

// The clock is read once in front of the polling and then behind each poll that misses. Only whole
// seconds count. The poll behind the one that ran out of time is the last, and a match there is
// late.
TEST(RouterCommWriter, WaitsForWholeSecondsGreaterThanTwo) {
    const WaitCase cases[] = {
        {"mark after 2 s and a bit", {10, 999999}, {13, 0}, 0, false, 2},
        {"match on the read after the mark", {10, 999999}, {13, 0}, 2, false, 2},
        {"match on the read before the mark", {10, 999999}, {13, 0}, 1, true, 1},
        {"no mark within 3 s", {10, 0}, {12, 999999}, 3, true, 3},
        {"clock set back", {10, 0}, {1, 0}, 40, true, 40},
        {"never answered", {10, 0}, {12, 999999}, 0, false, 51},
    };
    for (const WaitCase& c : cases) {
        ExpectWait(c, MAILBOX_TX_FLAG, TX_BYTE_TAKEN,
                   [](RouterCommWriter& writer, RouterCommReader&) { return writer.sendByte(1); });
    }
}

TEST(RouterCommReader, WaitsForWholeSecondsGreaterThanThree) {
    const WaitCase cases[] = {
        {"mark after 3 s and a bit", {10, 999999}, {14, 0}, 0, false, 2},
        {"match on the read after the mark", {10, 999999}, {14, 0}, 2, false, 2},
        {"no mark within 4 s", {10, 0}, {13, 999999}, 3, true, 3},
        {"never offered", {10, 0}, {13, 999999}, 0, false, 51},
    };
    for (const WaitCase& c : cases) {
        ExpectWait(c, MAILBOX_RX_FLAG, RX_BYTE_OFFERED,
                   [](RouterCommWriter&, RouterCommReader& reader) {
                       unsigned char byte = 99;
                       const bool result = reader.readByte(&byte);
                       EXPECT_EQ(byte, result ? 7 : 99);
                       return result;
                   });
    }
}

TEST(RouterCommReader, ResetsTheMailboxWhenNoByteComes) {
    FakeTime time({10, 0});
    time.beforeReading = [&] { time.now.tv_sec += time.readings == 1 ? 4 : 0; };
    RecordingMailbox mailbox;
    mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
    RouterCommReader reader(&mailbox);
    unsigned char byte = 0;
    EXPECT_FALSE(reader.readByte(&byte));
    EXPECT_EQ(mailbox.takeAccesses(), "R7 R6 R6 " + RESET);
    EXPECT_FALSE(reader.readByte(&byte));
    EXPECT_EQ(mailbox.takeAccesses(), "R7");
    RouterCommWriter writer(&mailbox);
    EXPECT_FALSE(writer.sendByte(1));
    EXPECT_EQ(mailbox.takeAccesses(), "R10 R10");
}

TEST(RouterCommWriter, SequenceStopsAtTheFirstFailure) {
    FakeTime time({10, 0});
    time.beforeReading = [&] { time.now.tv_sec += 1; };
    RecordingMailbox mailbox;
    EagerFarSide farSide(mailbox);
    farSide.takes = 2;
    RouterCommWriter writer(&mailbox);
    EXPECT_FALSE(writer.sendBytes("abcd", 4));
    EXPECT_EQ(farSide.fromHost, "ab");
    const std::string accesses = mailbox.takeAccesses();
    EXPECT_NE(accesses.find("W8=99"), std::string::npos);   // c was offered
    EXPECT_EQ(accesses.find("W8=100"), std::string::npos);  // d was not
}

TEST(RouterComms, EmptySequencesTouchNothing) {
    RecordingMailbox mailbox;
    RouterCommWriter writer(&mailbox);
    RouterCommReader reader(&mailbox);
    char byte = 0;
    EXPECT_TRUE(writer.sendBytes(nullptr, 5));
    EXPECT_TRUE(writer.sendBytes(&byte, 0));
    EXPECT_FALSE(reader.readBytes(nullptr, 5, 5));
    EXPECT_FALSE(reader.readBytes(nullptr, 0, 0));
    EXPECT_TRUE(reader.readBytes(&byte, 0, 0));
    EXPECT_EQ(mailbox.takeAccesses(), "");
}

TEST(RouterCommReader, ReadsNoMoreThanItsCapacity) {
    RecordingMailbox mailbox;
    EagerFarSide farSide(mailbox);
    farSide.toHost = "abcdef";
    RouterCommReader reader(&mailbox);
    std::string bytes = "....";
    EXPECT_FALSE(reader.readBytes(bytes.data(), 2, 3));
    EXPECT_EQ(bytes, "ab..");
    EXPECT_TRUE(reader.readBytes(bytes.data(), 4, 3));
    EXPECT_EQ(bytes, "cde.");
}

TEST(RouterComms, SingleReads) {
    RecordingMailbox mailbox;
    RouterCommWriter writer(&mailbox);
    RouterCommReader reader(&mailbox);
    EXPECT_FALSE(writer.isControllerPresent());
    mailbox.bytes[MAILBOX_TX_STATE] = 9;
    EXPECT_TRUE(writer.isControllerPresent());
    EXPECT_FALSE(reader.isByteOffered());
    mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
    EXPECT_TRUE(reader.isByteOffered());
    mailbox.bytes[MAILBOX_REVISION_HIGH] = 0xFE;
    mailbox.bytes[MAILBOX_REVISION_LOW] = 0x81;
    EXPECT_EQ(reader.getControllerRevision(), 0xFE81);
    EXPECT_EQ(mailbox.takeAccesses(), "R10 R10 R6 R6 R17 R16");
}

TEST(RouterCommReader, EnableAsksOnlyWhenOff) {
    for (const int state : {0, 1, 2, 3}) {
        RecordingMailbox mailbox;
        mailbox.bytes[MAILBOX_RX_STATE] = static_cast<unsigned char>(state);
        RouterCommReader(&mailbox).enable();
        EXPECT_EQ(mailbox.takeAccesses(), state == 0 ? "R7 W7=1 W7=0" : "R7 W7=0");
    }
}

}  // namespace
