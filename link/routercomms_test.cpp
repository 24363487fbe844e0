#include "link/routercomms.h"

#include <gtest/gtest.h>

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

/** The accesses of a reset, which is the last thing that a failed wait does. */
const std::string RESET = "W5=0 W6=0 W7=0 W8=0 W9=0 W10=0";

TEST(RouterCommWriter, SendsAByteByTheHandshake) {
    const struct {
        const char* name;
        unsigned char state;
        bool result;
        const char* accesses;
    } cases[] = {
        {"announced", 1, true, "R10 W10=2 R10 W8=165 W9=36 R9"},
        {"taken over", 2, true, "R10 R10 W8=165 W9=36 R9"},
        {"absent", 0, false, "R10 R10"},
        {"odd state", 3, false, "R10 R10"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const FakeTime time({1000, 999999});
        RecordingMailbox mailbox;
        mailbox.bytes[MAILBOX_TX_STATE] = c.state;
        mailbox.bytes[MAILBOX_TX_FLAG] = 35;  // from the previous byte
        mailbox.afterWrite = [&](unsigned int address) {
            if (address == MAILBOX_TX_FLAG) {
                mailbox.bytes[address] = TX_BYTE_TAKEN;
            }
        };
        EXPECT_EQ(RouterCommWriter(&mailbox).sendByte(165), c.result);
        EXPECT_EQ(mailbox.takeAccesses(), c.accesses);
        // Once, before polling.
        EXPECT_EQ(time.readings, c.result ? 1 : 0);
    }
}

TEST(RouterCommReader, RequestsAnAbsentDirectionAndFailsAtOnceUnlessItIsUp) {
    for (const int state : {0, 1, 2, 3}) {
        RecordingMailbox mailbox;
        mailbox.bytes[MAILBOX_RX_STATE] = static_cast<unsigned char>(state);
        mailbox.bytes[MAILBOX_RX_FLAG] = RX_BYTE_OFFERED;
        mailbox.bytes[MAILBOX_RX_DATA] = 77;
        {
            RouterCommReader reader(&mailbox);
            unsigned char byte = 99;
            EXPECT_EQ(reader.readByte(&byte), state == 2);
            EXPECT_EQ(byte, state == 2 ? 77 : 99);
            EXPECT_EQ(mailbox.takeAccesses(), state == 2 ? "R7 R6 R5 W6=63" : "R7");
            reader.enable();
            EXPECT_EQ(mailbox.takeAccesses(), state == 0 ? "R7 W7=1" : "R7");
        }
        EXPECT_EQ(mailbox.takeAccesses(), "W7=0");
    }
}

/**
 * A wait that polls a flag. The clock starts at `start` and moves to `late` after the first
 * reading. The far side answers before poll `matchesOnPoll`, counted from 1; 0 is never.
 */
struct WaitCase {
    const char* name;
    bool sends;
    timeval start;
    timeval late;
    int matchesOnPoll;
    bool result;
    int polls;
};

const WaitCase WAIT_CASES[] = {
    {"sends: timeout just after 2 s", true, {10, 999999}, {13, 0}, 0, false, 2},
    {"sends: match on the read after the timeout", true, {10, 999999}, {13, 0}, 2, false, 2},
    {"sends: match on the read before the timeout", true, {10, 999999}, {13, 0}, 1, true, 1},
    {"sends: no timeout within 3 s", true, {10, 0}, {12, 999999}, 3, true, 3},
    {"sends: clock set back", true, {10, 0}, {1, 0}, 40, true, 40},
    {"sends: never answered", true, {10, 0}, {12, 999999}, 0, false, 51},
    {"reads: timeout just after 3 s", false, {10, 999999}, {14, 0}, 0, false, 2},
    {"reads: match on the read after the timeout", false, {10, 999999}, {14, 0}, 2, false, 2},
    {"reads: no timeout within 4 s", false, {10, 0}, {13, 999999}, 3, true, 3},
    {"reads: never offered", false, {10, 0}, {13, 999999}, 0, false, 51},
};

// The clock is read once before polling, then after each poll without a match. Only whole seconds
// count. After the time has run out one more poll follows, and a match on that one is too late.
TEST(RouterComms, WaitLongerThanTheirLimitInWholeSeconds) {
    for (const WaitCase& c : WAIT_CASES) {
        SCOPED_TRACE(c.name);
        FakeTime time(c.start);
        time.beforeReading = [&] { time.now = time.readings == 1 ? c.late : time.now; };
        RecordingMailbox mailbox;
        mailbox.bytes.fill(7);
        mailbox.bytes[MAILBOX_TX_STATE] = STATE_READY;
        mailbox.bytes[MAILBOX_RX_STATE] = STATE_READY;
        int polls = 0;
        mailbox.beforeRead = [&](unsigned int address) {
            if (address != (c.sends ? MAILBOX_TX_FLAG : MAILBOX_RX_FLAG)) {
                return;
            }
            ASSERT_LT(polls, 100);  // an endless wait
            if (++polls == c.matchesOnPoll) {
                mailbox.bytes[address] = c.sends ? TX_BYTE_TAKEN : RX_BYTE_OFFERED;
            } else if (polls == 50) {
                time.now.tv_sec += 100;  // for the waits that never end
            }
        };
        RouterCommWriter writer(&mailbox);
        RouterCommReader reader(&mailbox);
        unsigned char byte = 99;
        EXPECT_EQ(c.sends ? writer.sendByte(1) : reader.readByte(&byte), c.result);
        EXPECT_EQ(byte, c.result && !c.sends ? 7 : 99);
        EXPECT_EQ(polls, c.polls);
        const std::string accesses = mailbox.takeAccesses();
        const size_t reset = accesses.find(RESET);
        EXPECT_EQ(reset, c.result ? std::string::npos : accesses.size() - RESET.size());
        EXPECT_EQ(mailbox.bytes[MAILBOX_REVISION_LOW], 7);
        EXPECT_EQ(mailbox.bytes[MAILBOX_REVISION_HIGH], 7);
        if (reset != std::string::npos) {  // both directions are down
            EXPECT_FALSE(reader.readByte(&byte));
            EXPECT_FALSE(writer.sendByte(1));
            EXPECT_EQ(mailbox.takeAccesses(), "R7 R10 R10");
        }
    }
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

TEST(RouterComms, SequencesAreBoundedAndEmptyOnesTouchNothing) {
    RecordingMailbox mailbox;
    RouterCommWriter writer(&mailbox);
    RouterCommReader reader(&mailbox);
    std::string bytes = "....";
    EXPECT_TRUE(writer.sendBytes(nullptr, 5));
    EXPECT_TRUE(writer.sendBytes(bytes.data(), 0));
    EXPECT_FALSE(reader.readBytes(nullptr, 5, 5));
    EXPECT_FALSE(reader.readBytes(nullptr, 0, 0));
    EXPECT_TRUE(reader.readBytes(bytes.data(), 0, 0));
    EXPECT_EQ(mailbox.takeAccesses(), "");
    EagerFarSide farSide(mailbox);
    farSide.toHost = "abcdef";
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

}  // namespace
