#include "verification/campaign/model.h"

#include <algorithm>
#include <optional>

#include "companions/toolcontract/toolcontract.h"
#include "link/mailbox.h"
#include "tests/support/image.h"
#include "tests/support/transcript.h"
#include "verification/campaign/modelfarside.h"

namespace campaign {

namespace {

using toolcontract::EXIT_MISSING;
using toolcontract::EXIT_NOT_UPGRADED;
using toolcontract::EXIT_UPGRADED;

RunOutcome FreshOutcome() {
    RunOutcome outcome;
    outcome.words = FreshWords();
    return outcome;
}

/**
 * Follows the tool step by step: its log lines, its accesses to the mailbox, and its readings of
 * the clock. Between two calls only the tool acts; at a call only the far side does.
 */
class RunPredictor {
  public:
    explicit RunPredictor(const Scenario& scenario)
        : i_scenario(scenario), i_now(scenario.start), i_farSide(scenario, i_outcome.words) {
        const controller::Fault* appear = nullptr;
        for (const controller::Fault& fault : scenario.faults) {
            appear = fault.kind == controller::FaultKind::Appear ? &fault : appear;
        }
        i_appearsOnPoll = appear != nullptr ? *appear->value : 0;
        announceIfDue();
    }

    RunOutcome predict() {
        i_outcome.exitValue = run();
        write(MAILBOX_RX_STATE, STATE_ABSENT);
        i_outcome.log = i_log.text();
        i_outcome.flash = i_farSide.flash();
        i_outcome.resets = i_farSide.resets();
        return i_outcome;
    }

  private:
    // The mailbox from the host's side.

    unsigned char read(unsigned address) {
        lock();
        return i_outcome.words[address] & 0xFF;
    }
    void write(unsigned address, unsigned char byte) {
        lock();
        uint32_t& word = i_outcome.words[address];
        word = (word & ~0x1FFU) | byte;
    }
    void reset() {
        for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
            write(address, 0);
        }
    }

    void lock() {
        if (i_scenario.everyAccess) {
            note(Call::Lock);
        }
    }

    // Calls: the time advances, and the far side acts.

    void note(Call kind) {
        ToolCall step = {kind, i_now, {}};
        std::copy_n(i_outcome.words.begin() + MAILBOX_RX_DATA, step.words.size(),
                    step.words.begin());
        i_outcome.steps.push_back(step);
    }
    void call(Call kind, int64_t us) {
        note(kind);
        i_now += us;
        const Words before = i_outcome.words;
        announceIfDue();
        i_farSide.act((i_now - i_scenario.start) / US_PER_MS);
        i_busy = i_outcome.words != before;
    }
    void call(Call kind) { call(kind, US_PER_MS * (i_busy ? BUSY_MS : i_scenario.silenceMs)); }
    void announceIfDue() {
        if (i_polls == i_appearsOnPoll && !i_appeared) {
            i_appeared = true;
            i_farSide.announce();
        }
    }

    int64_t secondsNow() {
        call(Call::Clock);
        return i_now / US_PER_SECOND;
    }
    void sleep() {
        ++i_polls;
        call(Call::Sleep, US_PER_SECOND);
    }
    void notice(const std::string& text) {
        call(Call::Line);
        i_log.notice(text);
    }
    void error(const std::string& text) {
        call(Call::Line);
        i_log.error(text);
    }

    // Bytes.

    /** Reads the clock at the start, and after each poll without a match. */
    bool waitFor(unsigned address, unsigned char wanted, int64_t limit) {
        const int64_t start = secondsNow();
        while (read(address) != wanted) {
            if (secondsNow() - start > limit) {
                read(address);  // a match no longer counts
                reset();
                return false;
            }
        }
        return true;
    }

    bool send(const std::string& bytes) {
        constexpr int64_t limit = 2;
        for (const char byte : bytes) {
            if (read(MAILBOX_TX_STATE) == STATE_REQUESTED) {
                write(MAILBOX_TX_STATE, STATE_READY);
            }
            if (read(MAILBOX_TX_STATE) != STATE_READY) {
                return false;
            }
            write(MAILBOX_TX_DATA, static_cast<unsigned char>(byte));
            write(MAILBOX_TX_FLAG, TX_BYTE_OFFERED);
            if (!waitFor(MAILBOX_TX_FLAG, TX_BYTE_TAKEN, limit)) {
                return false;
            }
        }
        return true;
    }

    /** Reads until there are `size` bytes. */
    bool receive(std::string& bytes, size_t size) {
        constexpr int64_t limit = 3;
        while (bytes.size() < size) {
            if (read(MAILBOX_RX_STATE) != STATE_READY ||
                !waitFor(MAILBOX_RX_FLAG, RX_BYTE_OFFERED, limit)) {
                return false;
            }
            bytes.push_back(static_cast<char>(read(MAILBOX_RX_DATA)));
            write(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
        }
        return true;
    }

    /** One message of the far side; none if it is invalid or doesn't arrive. */
    std::optional<std::string> receiveMessage() {
        constexpr size_t header = 8;
        std::string bytes;
        if (!receive(bytes, header)) {
            return std::nullopt;
        }
        const std::optional<size_t> size = SizeOfAnswer(bytes);
        if (!size || !receive(bytes, *size)) {
            return std::nullopt;
        }
        return bytes;
    }

    // Pages.

    bool sendPage(size_t number, const std::string& frame) {
        for (int attempt = 0; attempt < 5; ++attempt) {
            if (!send(frame)) {
                error("Failed to send YAMP message attempt " + std::to_string(attempt) + "\n");
                continue;
            }
            const auto answer = receiveMessage();
            if (!answer) {
                error("Failed to get response message\n");
                continue;
            }
            if (answer->compare(2, 2, "\x2E\xA6") != 0) {
                continue;
            }
            const bool good = IsGoodAnswer(*answer);
            notice("Page " + std::to_string(number) +
                   (good ? " sent successfully\n" : " did not send successfully\n"));
            if (good) {
                return true;
            }
        }
        return false;
    }

    bool sendPages(const std::string& payload) {
        const size_t pages = Pages(i_scenario);
        for (size_t number = 0; number < pages; ++number) {
            const bool straddles = number + 1 == pages && payload.size() % 256 == 1;
            if (straddles) {
                return false;
            }
            const std::string frame = testsupport::PageFrame(
                static_cast<uint16_t>(number), testsupport::ExpectedPage(payload, number));
            if (!sendPage(number, frame)) {
                error("Failed to send page " + std::to_string(number) + "\n");
                return false;
            }
        }
        return pages != 0;
    }

    // The run.

    bool findController() {
        for (int poll = 0; poll < 60; ++poll) {
            if (read(MAILBOX_TX_STATE) != STATE_ABSENT) {
                return true;
            }
            notice("Controller isn't there, sleeping for 1 second\n");
            sleep();
        }
        notice("Controller is missing, skipping upgrade");
        return false;
    }

    unsigned revision() {
        const unsigned high = read(MAILBOX_REVISION_HIGH);
        return high * 256 + read(MAILBOX_REVISION_LOW);
    }

    int run() {
        // One for each region that the tool maps.
        constexpr int locksOfStart = 3;
        for (int i = 0; i < locksOfStart; ++i) {
            lock();
        }
        if (!findController()) {
            return EXIT_MISSING;
        }
        if (read(MAILBOX_RX_STATE) == STATE_ABSENT) {
            write(MAILBOX_RX_STATE, STATE_REQUESTED);
        }
        notice("Controller is " + std::to_string(revision()) + "\n");
        if (revision() == TOOL_REVISION && !i_scenario.force) {
            notice("Controller is already at revision 19525\n");
            return EXIT_NOT_UPGRADED;
        }
        notice("File name is image\n");
        const bool upgraded = i_scenario.image != ImageKind::Missing && upgrade();
        notice("Done\n");
        return upgraded ? EXIT_UPGRADED : EXIT_NOT_UPGRADED;
    }

    bool upgrade() {
        if (i_scenario.image == ImageKind::NoHeader) {
            error("Error: Invalid TFI format, not upgrading\n");
            return false;
        }
        const std::string file = ImageOf(i_scenario);
        notice("Checksum is " + testsupport::ChecksumText(file) + "\n");
        notice("File is open size " + std::to_string(file.size()) + " " +
               std::to_string(Pages(i_scenario)) + " pages\n");
        send(testsupport::BeginFrame());
        const std::string payload = PayloadOf(i_scenario);
        if (!sendPages(payload)) {
            error("Failed to upgrade Tolmira controller!\n");
            return false;
        }
        // The end is sent even if the information fails.
        constexpr size_t infoSize = 12;
        constexpr size_t endSize = 8;
        const std::string wire = testsupport::ExpectedWire(payload);
        const std::string closing = wire.substr(wire.size() - infoSize - endSize);
        send(closing.substr(0, infoSize));
        send(closing.substr(infoSize));
        return true;
    }

    const Scenario& i_scenario;
    RunOutcome i_outcome = FreshOutcome();
    testsupport::Transcript i_log;
    int64_t i_now;
    /** Whether the far side changed the mailbox at the last call. */
    bool i_busy = true;
    ModelFarSide i_farSide;
    uint32_t i_polls = 0;
    uint32_t i_appearsOnPoll = 0;
    bool i_appeared = false;
};

}  // namespace

RunOutcome Predict(const Scenario& scenario) {
    return RunPredictor(scenario).predict();
}

}  // namespace campaign
