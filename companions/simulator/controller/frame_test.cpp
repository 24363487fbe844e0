#include "companions/simulator/controller/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace controller {

namespace {

using Bytes = std::vector<uint8_t>;

/** All frames that the bytes make. */
std::vector<Frame> Read(FrameReader& reader, const Bytes& bytes) {
    std::vector<Frame> frames;
    for (const uint8_t byte : bytes) {
        if (auto frame = reader.push(byte)) {
            frames.push_back(*frame);
        }
    }
    return frames;
}

TEST(PackFrame, WritesTheAnswerToAPage) {
    EXPECT_THAT(PackFrame(ID_PAGE_RESULT, {0x00}),
                ElementsAre(0x02, 0xDC, 0x2E, 0xA6, 0x00, 0x00, 0x00, 0x09, 0x00));
}

TEST(FrameReader, CutsFramesOneBehindTheOther) {
    FrameReader reader;
    const Bytes bytes = {0x02, 0xDC, 0x2E, 0xA5, 0, 0, 0, 0x08,  //
                         0x02, 0xDC, 0x2E, 0xA2, 0, 0, 0, 0x0C, 0x00, 0x03, 0xBE, 0xEF};
    const std::vector<Frame> frames = Read(reader, bytes);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].id, ID_UPGRADE_BEGIN);
    EXPECT_THAT(frames[0].body, IsEmpty());
    EXPECT_EQ(frames[1].id, ID_UPGRADE_INFO);
    EXPECT_THAT(frames[1].body, ElementsAre(0x00, 0x03, 0xBE, 0xEF));
    EXPECT_TRUE(reader.begun().empty());
}

struct SpoiltCase {
    const char* what;
    Bytes bytes;
    size_t dropped;
};

TEST(FrameReader, FallsBackIntoStepBehindSpoiltBytes) {
    const SpoiltCase cases[] = {
        {"wrong second lead byte", {0x02, 0xDD}, 2},
        {"lead byte twice", {0x02}, 1},
        {"length 7", {0x02, 0xDC, 0x2E, 0xA5, 0, 0, 0, 0x07}, 8},
        {"length of 128 MiB", {0x02, 0xDC, 0x2E, 0xA3, 0x08, 0, 0, 0}, 8},
        {"all ones", {0x02, 0xDC, 0x2E, 0xA3, 0xFF, 0xFF, 0xFF, 0xFF}, 8},
    };
    const Bytes begin = PackFrame(ID_UPGRADE_BEGIN, {});
    for (const SpoiltCase& c : cases) {
        SCOPED_TRACE(c.what);
        FrameReader reader;
        EXPECT_THAT(Read(reader, c.bytes), IsEmpty());
        EXPECT_EQ(Read(reader, begin).size(), 1U);
        EXPECT_EQ(reader.droppedBytes(), c.dropped);
    }
}

}  // namespace

}  // namespace controller
