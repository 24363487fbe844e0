#include <algorithm>
#include <string>

#include "tests/support/image.h"
#include "tool/upgradesequence.h"
#include "verification/fuzz/fuzzing.h"
#include "verification/fuzz/scriptedmailbox.h"

/**
 * A byte for the controller's manner, in some of them three for zeroes that follow the file, and
 * the file. What must be sent is worked out from the file alone.
 */
namespace {

constexpr size_t MaxPages = 65535;
constexpr size_t PageSize = 256;
constexpr size_t BeginFrameSize = 8;
constexpr size_t PageFrameSize = 272;
constexpr unsigned Attempts = 5;

/** The offset behind the seven lines; 0 if they are no header. */
size_t HeaderSize(const std::string& file) {
    constexpr size_t LongestLine = 255;
    size_t start = 0;
    for (int line = 1; line <= 7; ++line) {
        const size_t end = file.find('\n', start);
        if (end == std::string::npos || end - start > LongestLine ||
            (line == 7 && file.compare(start, 3, "END") != 0)) {
            return 0;
        }
        start = end + 1;
    }
    return start;
}

/** What the file has behind its header. Of the zeroes only those that can be sent are there. */
struct Payload {
    std::string bytes;
    size_t size = 0;

    size_t pages() const { return size / PageSize + (size % PageSize != 0 ? 1 : 0); }
    /** The checksum straddles the last two pages, or there are no two bytes: it can't be cut. */
    bool lastPageFails() const { return size % PageSize == 1; }
};

/** The frames of the pages, where each page is called bad so often before it is good. */
std::string ExpectedPages(const Payload& payload, unsigned badAnswers) {
    const size_t readable = payload.pages() - (payload.lastPageFails() ? 1 : 0);
    const size_t sent = badAnswers < Attempts ? readable : std::min<size_t>(readable, 1);
    std::string frames;
    for (size_t page = 0; page < sent; ++page) {
        const bool isWhole = payload.size - page * PageSize > PageSize;
        const std::string frame = testsupport::PageFrame(
            static_cast<uint16_t>(page), isWhole ? payload.bytes.substr(page * PageSize, PageSize)
                                                 : testsupport::ExpectedPage(payload.bytes, page));
        for (unsigned attempt = 0; attempt <= std::min(badAnswers, Attempts - 1); ++attempt) {
            frames += frame;
        }
    }
    return frames;
}

bool IsUpgraded(const Payload& payload, unsigned badAnswers) {
    return payload.size != 0 && payload.pages() <= MaxPages && !payload.lastPageFails() &&
           badAnswers < Attempts;
}

/** All that the host says. */
std::string ExpectedConversation(const Payload& payload, unsigned badAnswers) {
    if (payload.pages() > MaxPages) {
        return "";
    }
    const std::string open = testsupport::BeginFrame() + ExpectedPages(payload, badAnswers);
    return !IsUpgraded(payload, badAnswers)
               ? open
               : open + testsupport::ExpectedWire(payload.bytes)
                            .substr(BeginFrameSize + payload.pages() * PageFrameSize);
}

/** Answers each whole page frame: so often bad, then good, and so on. */
void AnswerPages(fuzzing::ScriptedMailbox& mailbox, unsigned badAnswers) {
    const std::string answer("\x02\xDC\x2E\xA6\0\0\0\x09", 8);
    mailbox.onByte = [&mailbox, answer, badAnswers, frames = 0U]() mutable {
        const size_t size = mailbox.fromHost.size();
        if (size > BeginFrameSize && (size - BeginFrameSize) % PageFrameSize == 0) {
            mailbox.toHost += answer + (frames++ % (badAnswers + 1) == badAnswers ? '\0' : '\1');
        }
    };
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::SilenceLog();
    static fuzzing::MemoryFile image;
    fuzzing::Input input(bytes, size);
    const unsigned badAnswers = input.takeByte() % (Attempts + 1);
    // Only where the first page fails: a conversation of sixteen million bytes takes too long.
    const size_t zeroes = badAnswers == Attempts ? input.takeNumber(3) : 0;
    const std::string file = input.takeRest();
    image.write(file, zeroes);

    fuzzing::ScriptedMailbox mailbox;
    AnswerPages(mailbox, badAnswers);
    RouterCommWriter writer(&mailbox);
    RouterCommReader reader(&mailbox);
    const bool upgraded = UpgradeController(image.path().c_str(), writer, reader);

    const size_t start = HeaderSize(file);
    const Payload payload{file.substr(start) + std::string(std::min(zeroes, 2 * PageSize), '\0'),
                          file.size() - start + zeroes};
    REQUIRE(upgraded == (start != 0 && IsUpgraded(payload, badAnswers)));
    REQUIRE(mailbox.fromHost == (start == 0 ? "" : ExpectedConversation(payload, badAnswers)));
    return 0;
}
