/** Each kind of fault as a host sees it. The test is a small host with a clock of its own, and
   polls the session between its steps. */
#include "companions/simulator/controller/faultplan.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>

#include "companions/simulator/controller/session.h"
#include "link/mailbox.h"

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;

constexpr uint16_t PAGES = 3;
constexpr milliseconds SEND_LIMIT{2500};
constexpr milliseconds READ_LIMIT{3500};

constexpr uint32_t LONGEST_ANSWER = 0x8000000;

std::string Hex(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        text += "0123456789ABCDEF"[byte / 16];
        text += "0123456789ABCDEF"[byte % 16];
    }
    return text;
}

Bytes Page(uint16_t number) {
    const uint16_t crc = PageCrc(Bytes(PAGE_SIZE, 0));
    Bytes body(8 + PAGE_SIZE, 0);
    body[1] = static_cast<uint8_t>(number);
    body[2] = static_cast<uint8_t>(crc);
    body[3] = static_cast<uint8_t>(crc >> 8);
    body[6] = 1;
    return PackFrame(ID_FLASH_PAGE, body);
}

/**
 * One upgrade with a session that has these faults. `deviations` lists what a faultless controller
 * would not have shown, by page and attempt. An answer that is not good is shown by its bytes, a
 * late one by its milliseconds. "refused" and "lost" have the index of the byte that was not taken,
 * "none" the number of bytes read before a timeout.
 */
class FaultyRun {
  public:
    explicit FaultyRun(const std::string& faults)
        : i_plan(ParseSchedule(faults, i_error).value(), i_events),
          i_session(MailboxPort(i_words.data()), i_conversation, i_plan, i_events,
                    {100, 19525, true}, [] {}) {
        i_session.clear();
        i_session.announce();
        i_words[MAILBOX_RX_STATE] = STATE_REQUESTED;
        pollSession();
        upgrade();
    }

    const std::string& deviations() const { return i_deviations; }
    const std::array<uint32_t, 32>& words() const { return i_words; }
    unsigned faultsActed() const { return i_events.faults(); }

  private:
    unsigned char word(unsigned address) const {
        return static_cast<unsigned char>(i_words[address]);
    }

    void pollSession() {
        while (i_session.poll(i_now)) {
        }
    }

    bool wait(unsigned address, unsigned char value, milliseconds limit) {
        const milliseconds end = i_now + limit;
        for (pollSession(); word(address) != value; pollSession()) {
            i_now = std::min(i_session.due().value_or(end), end);
            if (i_now == end) {
                std::fill_n(i_words.begin() + MAILBOX_RX_DATA, 6, 0);
                pollSession();
                return false;
            }
        }
        return true;
    }

    void note(const std::string& what) { i_deviations += (i_deviations.empty() ? "" : " ") + what; }

    bool send(const std::string& what, const Bytes& frame) {
        for (size_t i = 0; i < frame.size(); ++i) {
            if (word(MAILBOX_TX_STATE) == STATE_REQUESTED) {
                i_words[MAILBOX_TX_STATE] = STATE_READY;
            }
            if (word(MAILBOX_TX_STATE) != STATE_READY) {
                note(what + ":refused" + std::to_string(i));
                return false;
            }
            i_words[MAILBOX_TX_DATA] = frame[i];
            i_words[MAILBOX_TX_FLAG] = TX_BYTE_OFFERED;
            if (!wait(MAILBOX_TX_FLAG, TX_BYTE_TAKEN, SEND_LIMIT)) {
                note(what + ":lost" + std::to_string(i));
                return false;
            }
        }
        return true;
    }

    /** False on a timeout. */
    bool read(Bytes& bytes, size_t count) {
        while (bytes.size() < count) {
            if (word(MAILBOX_RX_STATE) != STATE_READY ||
                !wait(MAILBOX_RX_FLAG, RX_BYTE_OFFERED, READ_LIMIT)) {
                return false;
            }
            bytes.push_back(word(MAILBOX_RX_DATA));
            i_words[MAILBOX_RX_FLAG] = RX_BYTE_TAKEN;
        }
        return true;
    }

    bool deliver(const std::string& what, const Bytes& page) {
        const milliseconds start = i_now;
        if (!send(what, page)) {
            return false;
        }
        Bytes answer;
        bool inTime = read(answer, HEADER_SIZE);
        const bool sound = inTime && answer[0] == FIRST_LEAD_BYTE &&
                           ReadU32(answer.data() + LENGTH_OFFSET) <= LONGEST_ANSWER;
        inTime = inTime && (!sound || read(answer, ReadU32(answer.data() + LENGTH_OFFSET)));
        if (!inTime) {
            note(what + ":none" + std::to_string(answer.size()));
        } else if (answer != PackResult(0)) {
            note(what + ":" + Hex(answer));
        } else if (i_now != start) {
            note(what + "+" + std::to_string((i_now - start).count()));
        }
        return inTime && sound && answer.size() > HEADER_SIZE && answer[HEADER_SIZE] == 0 &&
               ReadU16(answer.data() + ID_OFFSET) == ID_PAGE_RESULT;
    }

    void upgrade() {
        send("begin", PackFrame(ID_UPGRADE_BEGIN, {}));
        for (uint16_t page = 0; page < PAGES; ++page) {
            int attempt = 1;
            while (!deliver(std::to_string(page) + "." + std::to_string(attempt), Page(page))) {
                if (++attempt > 3) {
                    return;
                }
            }
        }
        send("info", PackFrame(ID_UPGRADE_INFO, {0, PAGES, 0, 0}));
        send("end", PackFrame(ID_UPGRADE_END, {}));
    }

    std::array<uint32_t, 32> i_words{};
    std::ostringstream i_out;
    std::string i_error;
    EventLog i_events{i_out, false};
    Flash i_flash;
    Conversation i_conversation{i_flash, i_events, std::nullopt};
    FaultPlan i_plan;
    Session i_session;
    milliseconds i_now{0};
    std::string i_deviations;
};

struct Case {
    const char* faults;
    unsigned acting;
    const char* deviations;
};

const Case CASES[] = {
    {"", 0, ""},
    {"slow=700@1.1.100", 1, "1.1+700"},
    {"slow=7@begin.8 slow=7@1.1.272 slow=7@info.4 slow=7@end.8", 4, "0.1+7 1.1+7"},
    // Up to their byte 4, the closing messages count as one more page.
    {"slow=9@2.1.271 slow=9@3.1.2 slow=9@3.1.4 slow=9@3.2.3 slow=9@2.2.3", 2, "2.1+9"},
    {"slow=2600@1.1 result=1@1.2", 2, "1.1:lost0 1.2:02DC2EA60000000901"},
    {"slow=2600@1.1.9 slow=2600@1.2.271 slow=1@1.3.5", 3, "1.1:lost9 1.2:lost271 1.3+1"},
    // Pages without an opening message are recognised, but refused.
    {"slow=2600@begin.2 slow=1@0.1 slow=1@1.1.4 result=0@0.1", 4,
     "begin:lost2 0.1+1 1.1:02DC2EA60000000904 1.2:02DC2EA60000000904 1.3:02DC2EA60000000904"},
    {"die@1.1.271", 1, "1.1:lost271 1.2:refused0 1.3:refused0"},
    {"die@1.1.272", 1, "1.1:none0 1.2:refused0 1.3:refused0"},
    {"die@end.8", 1, ""},
    {"reset@1.1.7 early=1@1.1.7", 1, "1.1:lost7 1.2:refused0 1.3:refused0"},
    {"reset=100@1.1.7 result=9@1.2", 2, "1.1:lost7 1.2:02DC2EA60000000909"},
    {"reset=5000@1.1.7", 1, "1.1:lost7 1.2:refused0 1.3:refused0"},
    {"reset=100@1.1.272", 1, "1.1:none0 1.2:refused0 1.3:refused0"},
    {"reset=100@1.1.272 slow=100@1.1.272", 2, "1.1:none0"},
    {"reset=0@2.1.272 early=4@2.1.5", 2, "2.1:none0"},
    {"state10=1@1.1.100", 1, ""},
    {"state10=3@1.1.100", 1, "1.1:refused101 1.2:refused0 1.3:refused0"},
    {"state10=3@1.1.272", 1, "2.1:refused0 2.2:refused0 2.3:refused0"},
    {"state7=4@1.1.100", 1, "1.1:none0 1.2:none0 1.3:none0"},
    {"unasked=0@1.1.100 result=1@1.1", 2, "2.1:02DC2EA60000000901"},
    {"early=4@1.1.100 result=1@1.1 late=5@1.1.4", 3, "1.1:02DC2EA60000000901"},
    {"early=9@1.1.0 result=1@1.1 late=5@1.1.8", 2, ""},
    {"body=0@1.1 result=1@1.1", 1, "1.1:02DC2EA600000008"},
    {"body=3@1.1 result=1@1.1", 2, "1.1:02DC2EA60000000B010000"},
    {"result=255@1.1 id=0x2EA3@1.2", 2, "1.1:02DC2EA600000009FF 1.2:02DC2EA30000000900"},
    {"extra=7@1.1 lead=0x3DC@1.1", 2, "1.1:03DC2EA600000009 1.2:0000000000000000"},
    {"cut=8@1.1 length=0x8000001@1.1", 2, "1.1:02DC2EA608000001"},
    {"cut=8@1.1 length=0xFFFFFFFF@1.1", 2, "1.1:02DC2EA6FFFFFFFF"},
    {"length=12@1.1", 1, "1.1:none9"},
    {"extra=1@2.1", 1, ""},
    {"cut=3@1.1 cut=4@2.1 cut=9@0.1", 2, "1.1:none3 2.1:none4"},
    {"silence@1.1 result=1@1.2", 2, "1.1:none0 1.2:02DC2EA60000000901"},
    {"late=3000@1.1 late=3000@1.1.8 slow=4@2.1.0", 3, "1.1+6000 2.1+4"},
    {"late=3600@1.1.8 slow=5@1.2.8", 2, "1.1:none8 1.2+5"},
    {"late=1@1.1.9 overrun@1.1.9", 0, ""},
    {"overrun@1.1.4 extra=1@1.1", 2, "1.1:none9"},
    {"overrun@1.1.8", 1, "1.1:none8"},
    {"stop=0@1.1", 1, "1.1:none0 1.2:refused0 1.3:refused0"},
    {"stop=3@1.1 late=9@1.1.3", 1, "1.1:none3 1.2:refused0 1.3:refused0"},
    {"stop=9@1.1", 1, "2.1:lost0 2.2:refused0 2.3:refused0"},
    {"stop=10@1.1", 0, ""},
    {"norearm silence@1.1", 2, "1.1:none0 1.2:refused0 1.3:refused0"},
    {"rearm=100 silence@1.1", 2, "1.1:none0 1.2:refused0 1.3:refused0"},
    {"rearm=0 silence@1.1 silence@1.2", 3, "1.1:none0 1.2:none0"},
};

TEST(FaultPlan, ActsAtItsPlacesAndNowhereElse) {
    for (const Case& c : CASES) {
        SCOPED_TRACE(c.faults);
        const FaultyRun run(c.faults);
        EXPECT_EQ(run.deviations(), c.deviations);
        EXPECT_EQ(run.faultsActed(), c.acting);
    }
}

TEST(FaultPlan, SetsTheDirtyBitsInEveryWordWritten) {
    const FaultyRun run("dirty=0xABCDE100 revise=7 appear=3");
    EXPECT_EQ(run.deviations(), "");
    EXPECT_EQ(run.faultsActed(), 3U);
    for (const unsigned address : {MAILBOX_RX_DATA, MAILBOX_RX_STATE, MAILBOX_TX_FLAG,
                                   MAILBOX_REVISION_LOW, MAILBOX_REVISION_HIGH}) {
        EXPECT_EQ(run.words()[address] & 0xFFFFFF00, 0xABCDE100) << address;
    }
}

}  // namespace

}  // namespace controller
