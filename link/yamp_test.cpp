#include "link/yamp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "link/controllermessages.h"
#include "link/mailbox.h"
#include "link/refbuffer.h"
#include "link/routercomms.h"
#include "tests/support/faketime.h"
#include "tests/support/scriptedmailbox.h"

using testsupport::EagerFarSide;
using testsupport::FakeTime;
using testsupport::RecordingMailbox;

namespace {
bool isMemoryOut = false;
}

// These replace the library's, to simulate a machine without memory for a frame.
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return isMemoryOut ? nullptr : malloc(size);
}

[[gnu::noinline]] void* operator new[](std::size_t size) {
    void* block = operator new[](size, std::nothrow);
    return block != nullptr ? block : throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete[](void* block) noexcept {
    free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    operator delete[](block);
}

namespace {

using Bytes = std::vector<unsigned char>;

TEST(YAMPPack, NeedsRoomForTheWholeFrame) {
    const TolmiraUpgradeInfoMessage message(ControllerUpgradeInfo(1, 2));
    Bytes buffer(12);
    unsigned int packedSize = 99;
    EXPECT_EQ(YAMPPack(buffer.data(), 11, message, &packedSize), -1);
    EXPECT_EQ(YAMPPack(buffer.data(), 7, message, &packedSize), -1);
    EXPECT_EQ(YAMPPack(nullptr, 12, message, &packedSize), -1);
    EXPECT_EQ(packedSize, 99U);
    EXPECT_EQ(YAMPPack(buffer.data(), 12, message, &packedSize), 0);
    EXPECT_EQ(packedSize, 12U);
    EXPECT_EQ(buffer, Bytes({2, 0xDC, 0x2E, 0xA2, 0, 0, 0, 12, 0, 1, 0, 2}));
}

TEST(YAMPParseHeader, ChecksLeadBytesAndLength) {
    const struct {
        const char* name;
        Bytes header;
        int result;
        unsigned int totalLength;
        uint16_t id;
    } cases[] = {
        {"empty body", {2, 0xDC, 0x2E, 0xA5, 0, 0, 0, 8}, 0, 8, 11941},
        {"unknown id", {2, 0xDC, 0xFF, 0xFE, 0, 0, 0, 8}, 0, 8, 0xFFFE},
        {"length 7", {2, 0xDC, 0x2E, 0xA5, 0, 0, 0, 7}, -1, 7, 11941},
        {"any large length", {2, 0xDC, 0, 1, 0xFF, 0xFF, 0xFF, 0xFF}, 0, 0xFFFFFFFF, 1},
        {"first lead byte", {3, 0xDC, 0x2E, 0xA5, 0, 0, 0, 8}, -1, 8, 11941},
        {"second lead byte", {2, 0xDD, 0x2E, 0xA5, 0, 0, 0, 8}, -1, 8, 11941},
        {"second lead byte, below", {2, 0xDB, 0x2E, 0xA5, 0, 0, 0, 8}, -1, 8, 11941},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        unsigned int totalLength = 99;
        uint16_t id = 99;
        EXPECT_EQ(YAMPParseHeader(c.header.data(), 8, &totalLength, &id), c.result);
        EXPECT_EQ(totalLength, c.totalLength);
        EXPECT_EQ(id, c.id);
        EXPECT_EQ(YAMPParseHeader(c.header.data(), 7, &totalLength, &id), -1);
    }
    unsigned int totalLength = 99;
    uint16_t id = 99;
    EXPECT_EQ(YAMPParseHeader(nullptr, 8, &totalLength, &id), -1);
    EXPECT_EQ(id, 99);
}

TEST(YAMPOpenBody, ReadsOnlyTheStatedBytes) {
    const Bytes frame = {2, 0xDC, 0x2E, 0xA6, 0, 0, 0, 9, 77, 88};
    uint16_t id = 0;
    EXPECT_EQ(YAMPOpenBody(frame.data(), 8, &id), nullptr);
    EXPECT_EQ(YAMPOpenBody(nullptr, 10, &id), nullptr);
    for (const unsigned int size : {9U, 10U}) {
        const auto body = YAMPOpenBody(frame.data(), size, &id);
        ASSERT_NE(body, nullptr);
        EXPECT_EQ(id, 11942);
        EXPECT_EQ(body->bytesRemaining(), 1U);
        unsigned char byte = 0;
        *body >> byte;
        EXPECT_EQ(byte, 77);
    }
}

class Unpackable : public YAMPMessage {
  public:
    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override {
        buffer.setFailed();
        return buffer;
    }
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override { return buffer; }
    uint16_t getId() const override { return 1; }
};

TEST(RouterCommWriter, SendsAMessageAsOneFrameOrNothing) {
    RecordingMailbox mailbox;
    EXPECT_FALSE(RouterCommWriter(&mailbox).send(Unpackable()));
    isMemoryOut = true;
    EXPECT_FALSE(RouterCommWriter(&mailbox).send(TolmiraUpgradeBeginMessage()));
    isMemoryOut = false;
    EXPECT_EQ(mailbox.takeAccesses(), "");
    const EagerFarSide farSide(mailbox);
    EXPECT_TRUE(RouterCommWriter(&mailbox).send(TolmiraUpgradeBeginMessage()));
    EXPECT_EQ(farSide.fromHost, std::string("\x02\xDC\x2E\xA5\0\0\0\x08", 8));
}

TEST(RouterCommReader, ReadsOneMessage) {
    using namespace std::string_literals;
    const struct {
        const char* name;
        std::string bytes;
        bool received;
        std::string left;  // not taken from the far side
    } cases[] = {
        {"a result", "\x02\xDC\x2E\xA6\0\0\0\x09\0next"s, true, "next"},
        {"an empty body", "\x02\xDC\x2E\xA5\0\0\0\x08next"s, true, "next"},
        {"an unknown id", "\x02\xDC\x11\x22\0\0\0\x0Axynext"s, true, "next"},
        {"a bad header takes its 8 bytes", "\x02\xDD\x2E\xA6\0\0\0\x09\0next"s, false, "\0next"s},
        {"length 7", "\x02\xDC\x2E\xA6\0\0\0\x07next"s, false, "next"},
        {"one beyond the largest frame", "\x02\xDC\x2E\xA6\x08\0\0\x01next"s, false, "next"},
        {"the largest length of all", "\x02\xDC\x2E\xA6\xFF\xFF\xFF\xFFnext"s, false, "next"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RecordingMailbox mailbox;
        EagerFarSide farSide(mailbox);
        farSide.toHost = c.bytes;
        RouterCommReader reader(&mailbox);
        RefPtr<RefBuffer> buffer;
        uint16_t id = 0;
        const auto body = reader.readMessage(buffer, id);
        EXPECT_EQ(body != nullptr, c.received);
        EXPECT_EQ(buffer.get() != nullptr, c.received);
        EXPECT_EQ(farSide.left(), c.left);
        if (body != nullptr) {
            EXPECT_EQ(id, (static_cast<unsigned char>(c.bytes[2]) << 8 |
                           static_cast<unsigned char>(c.bytes[3])));
            EXPECT_EQ(body->bytesRemaining(), buffer->size() - YAMP_HEADER_SIZE);
            EXPECT_EQ(std::string(buffer->bytes(), buffer->bytes() + buffer->size()),
                      c.bytes.substr(0, buffer->size()));
        }
    }
}

// With the largest length that is accepted, whose memory is touched only as bytes arrive.
TEST(RouterCommReader, HasNoMessageIfTheFrameEndsEarlyOrThereIsNoMemory) {
    FakeTime time({10, 0});
    time.beforeReading = [&] { time.now.tv_sec += 1; };
    for (const bool withoutMemory : {false, true}) {
        RecordingMailbox mailbox;
        EagerFarSide farSide(mailbox);
        farSide.toHost = std::string("\x02\xDC\x2E\xA6\x08\0\0\0abc", 11);
        RouterCommReader reader(&mailbox);
        RefPtr<RefBuffer> buffer;
        uint16_t id = 0;
        isMemoryOut = withoutMemory;
        EXPECT_EQ(reader.readMessage(buffer, id), nullptr);
        isMemoryOut = false;
        EXPECT_TRUE(buffer.get() == nullptr || !withoutMemory);
        EXPECT_EQ(farSide.left(), withoutMemory ? "abc" : "");
        EXPECT_EQ(mailbox.bytes[MAILBOX_TX_STATE], withoutMemory ? STATE_READY : STATE_ABSENT);
    }
}

/** Counts its deletions. */
class Counted : public RefObj {
  public:
    explicit Counted(int& destroyed) : i_destroyed(destroyed) {}
    ~Counted() override { ++i_destroyed; }

  private:
    int& i_destroyed;
};

TEST(RefPtr, FreesTheObjectWithTheLastReference) {
    int first = 0;
    int second = 0;
    {
        RefPtr<Counted> pointer(new Counted(first));
        RefPtr<Counted> other = pointer;
        const RefPtr<Counted>& alias = pointer;
        pointer = alias;  // itself
        EXPECT_EQ(first, 0);
        pointer = new Counted(second);
        EXPECT_EQ(first, 0);
        other = RefPtr<Counted>();
        EXPECT_EQ(first, 1);
        EXPECT_EQ(other.get(), nullptr);
        other = std::move(pointer);
        EXPECT_EQ(pointer.get(), nullptr);  // NOLINT(bugprone-use-after-move): null afterwards
        EXPECT_EQ(second, 0);
    }
    EXPECT_EQ(second, 1);
    EXPECT_EQ(first, 1);
}

}  // namespace
