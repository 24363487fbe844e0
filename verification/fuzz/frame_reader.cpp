#include <algorithm>
#include <memory>
#include <string>

#include "link/mailbox.h"
#include "link/routercomms.h"
#include "verification/fuzz/fuzzing.h"
#include "verification/fuzz/scriptedlink.h"

/**
 * Input: two bytes for the index of a late byte, one for the number of polls by which it is late,
 * and the bytes that the controller sends. The expected messages are computed from the protocol.
 */
namespace {

constexpr size_t HEADER_SIZE = 8;
constexpr size_t MAX_FRAME = 0x8000000;
/** A byte that more polls miss is too late. Each poll takes a second. */
constexpr unsigned MISSES_IN_TIME = 3;

struct Header {
    explicit Header(std::string_view bytes)
        : id(static_cast<uint16_t>(fuzzing::NumberAt(bytes, 2, 2))),
          length(static_cast<uint32_t>(fuzzing::NumberAt(bytes, 4, 4))),
          valid(bytes.size() >= HEADER_SIZE && bytes.substr(0, 2) == "\x02\xDC" &&
                length >= HEADER_SIZE) {}

    uint16_t id;
    uint32_t length;
    bool valid;
};

/** Tests the functions that need no mailbox. */
void ReadFrameInMemory(const std::string& frame) {
    const Header expected{frame};
    uint32_t length = 0;
    uint16_t id = 0;
    const auto size = static_cast<unsigned>(frame.size());
    REQUIRE((YAMPParseHeader(frame.data(), size, &length, &id) == 0) == expected.valid);
    const std::unique_ptr<SmartBufferReader> body = YAMPOpenBody(frame.data(), size, &id);
    REQUIRE((body != nullptr) == (expected.valid && expected.length <= frame.size()));
    if (body != nullptr) {
        REQUIRE(id == expected.id);
        REQUIRE(body->bytesRemaining() == expected.length - HEADER_SIZE);
    }
}

/** Reads the body to its end. */
std::string BytesOf(SmartBufferReader& body) {
    std::string bytes(body.bytesRemaining(), '\0');
    REQUIRE(body.read(bytes.data(), static_cast<int>(bytes.size())) ==
            static_cast<int>(bytes.size()));
    return bytes;
}

/** Reads one message; `script` is what can still arrive. False if no further message can. */
bool ReadFrameFromMailbox(fuzzing::ScriptedLink& link, std::string_view script) {
    RouterCommReader reader(&link.mailbox);
    const size_t start = link.farSide.position;
    RefPtr<RefBuffer> buffer;
    uint16_t id = 0;
    const std::unique_ptr<SmartBufferReader> body = reader.readMessage(buffer, id);
    const bool wasReset = link.mailbox.isReset();

    const Header expected(script);
    const bool readsBody = expected.valid && expected.length <= MAX_FRAME;
    const size_t wanted = readsBody ? expected.length : HEADER_SIZE;
    const bool arrives = script.size() >= wanted;
    REQUIRE((body != nullptr) == (readsBody && arrives));
    REQUIRE(link.farSide.position - start >= std::min(wanted, script.size()));
    REQUIRE(wasReset == !arrives);
    if (body != nullptr) {
        REQUIRE(link.farSide.position - start == wanted);
        REQUIRE(id == expected.id);
        REQUIRE(BytesOf(*body) == script.substr(HEADER_SIZE, wanted - HEADER_SIZE));
    }
    return arrives;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::Input input(bytes, size);
    fuzzing::ScriptedLink link;
    testsupport::EagerFarSide& farSide = link.farSide;
    farSide.lateByte = input.takeNumber(2);
    farSide.latePolls = input.takeByte() % 8U;
    const bool comesTooLate = farSide.latePolls > MISSES_IN_TIME;
    farSide.toHost = input.takeRest();
    ReadFrameInMemory(farSide.toHost);

    const std::string_view all = farSide.toHost;
    const std::string_view arriving = all.substr(0, comesTooLate ? farSide.lateByte : all.size());
    while (ReadFrameFromMailbox(link, arriving.substr(farSide.position))) {
        // As the controller does when the host asks again.
        link.mailbox.writeAddress(MAILBOX_RX_STATE, STATE_READY);
    }
    return 0;
}
