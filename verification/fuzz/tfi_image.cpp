#include <algorithm>
#include <string>

#include "tests/support/image.h"
#include "tool/upgradesequence.h"
#include "verification/fuzz/fuzzing.h"
#include "verification/fuzz/scriptedlink.h"

/**
 * Input: a byte for the number of bad answers; for the largest number, three bytes for the zeroes
 * that follow the file; and the file. The expected messages are computed from the file.
 */
namespace {

constexpr size_t MAX_PAGES = 65535;
constexpr size_t PAGE_SIZE = 256;
constexpr size_t BEGIN_FRAME_SIZE = 8;
constexpr size_t PAGE_FRAME_SIZE = 272;
constexpr unsigned ATTEMPTS = 5;

/** The offset after the seven lines; 0 if they are not a header. */
size_t HeaderSize(const std::string& file) {
    constexpr size_t longestLine = 255;
    size_t start = 0;
    for (int line = 1; line <= 7; ++line) {
        const size_t end = file.find('\n', start);
        if (end == std::string::npos || end - start > longestLine ||
            (line == 7 && file.compare(start, 3, "END") != 0)) {
            return 0;
        }
        start = end + 1;
    }
    return start;
}

/** The file after its header. `bytes` has only as many of the zeroes as can be sent. */
struct Payload {
    std::string bytes;
    size_t size = 0;

    size_t pages() const { return size / PAGE_SIZE + (size % PAGE_SIZE != 0 ? 1 : 0); }
    /** The checksum straddles the last two pages, or the payload is shorter than a checksum. */
    bool lastPageFails() const { return size % PAGE_SIZE == 1; }
};

/** The frames of the pages, each refused `badAnswers` times before it is accepted. */
std::string ExpectedPages(const Payload& payload, unsigned badAnswers) {
    const size_t readable = payload.pages() - (payload.lastPageFails() ? 1 : 0);
    const size_t sent = badAnswers < ATTEMPTS ? readable : std::min<size_t>(readable, 1);
    std::string frames;
    for (size_t page = 0; page < sent; ++page) {
        const bool isWhole = payload.size - page * PAGE_SIZE > PAGE_SIZE;
        const std::string frame = testsupport::PageFrame(
            static_cast<uint16_t>(page), isWhole ? payload.bytes.substr(page * PAGE_SIZE, PAGE_SIZE)
                                                 : testsupport::ExpectedPage(payload.bytes, page));
        for (unsigned attempt = 0; attempt <= std::min(badAnswers, ATTEMPTS - 1); ++attempt) {
            frames += frame;
        }
    }
    return frames;
}

bool IsUpgraded(const Payload& payload, unsigned badAnswers) {
    return payload.size != 0 && payload.pages() <= MAX_PAGES && !payload.lastPageFails() &&
           badAnswers < ATTEMPTS;
}

/** All messages of the host. */
std::string ExpectedConversation(const Payload& payload, unsigned badAnswers) {
    if (payload.pages() > MAX_PAGES) {
        return "";
    }
    const std::string open = testsupport::BeginFrame() + ExpectedPages(payload, badAnswers);
    return !IsUpgraded(payload, badAnswers)
               ? open
               : open + testsupport::ExpectedWire(payload.bytes)
                            .substr(BEGIN_FRAME_SIZE + payload.pages() * PAGE_FRAME_SIZE);
}

/** Refuses each page `badAnswers` times, then accepts it. */
void AnswerPages(testsupport::EagerFarSide& farSide, unsigned badAnswers) {
    const std::string answer("\x02\xDC\x2E\xA6\0\0\0\x09", 8);
    farSide.onByte = [&farSide, answer, badAnswers, frames = 0U]() mutable {
        const size_t size = farSide.fromHost.size();
        if (size > BEGIN_FRAME_SIZE && (size - BEGIN_FRAME_SIZE) % PAGE_FRAME_SIZE == 0) {
            farSide.toHost += answer + (frames++ % (badAnswers + 1) == badAnswers ? '\0' : '\1');
        }
    };
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::SilenceLog();
    static fuzzing::MemoryFile image;
    fuzzing::Input input(bytes, size);
    const unsigned badAnswers = input.takeByte() % (ATTEMPTS + 1);
    // Only if the first page fails, since a transfer of 16 MiB takes too long.
    const size_t zeroes = badAnswers == ATTEMPTS ? input.takeNumber(3) : 0;
    const std::string file = input.takeRest();
    image.write(file, zeroes);

    fuzzing::ScriptedLink link;
    AnswerPages(link.farSide, badAnswers);
    RouterCommWriter writer(&link.mailbox);
    RouterCommReader reader(&link.mailbox);
    const bool upgraded = UpgradeController(image.path().c_str(), writer, reader);

    const size_t start = HeaderSize(file);
    const Payload payload{file.substr(start) + std::string(std::min(zeroes, 2 * PAGE_SIZE), '\0'),
                          file.size() - start + zeroes};
    REQUIRE(upgraded == (start != 0 && IsUpgraded(payload, badAnswers)));
    REQUIRE(link.farSide.fromHost == (start == 0 ? "" : ExpectedConversation(payload, badAnswers)));
    return 0;
}
