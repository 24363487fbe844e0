#include "link/smartbuffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

/** The bytes that `write` puts into a buffer of 64; a sizing writer must agree. */
Bytes Written(const std::function<void(WriteableSmartBuffer&)>& write) {
    Bytes bytes(64, 0xEE);
    SmartBufferWriter writer;
    EXPECT_EQ(writer.initBuffer(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    write(writer);
    EXPECT_FALSE(writer.hasFailed());
    SmartBufferWriter sizing;
    sizing.initSizing();
    write(sizing);
    EXPECT_FALSE(sizing.hasFailed());
    EXPECT_EQ(sizing.getOffset(), writer.getOffset());
    bytes.resize(writer.getOffset());
    return bytes;
}

/** A reader over `bytes`, which must outlive it. */
SmartBufferReader ReaderOf(Bytes&&) = delete;
SmartBufferReader ReaderOf(const Bytes& bytes) {
    SmartBufferReader reader;
    EXPECT_EQ(reader.initBuffer(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    return reader;
}

TEST(SmartBuffer, EncodesHighByteFirst) {
    const struct {
        const char* name;
        std::function<void(WriteableSmartBuffer&)> write;
        Bytes bytes;
    } cases[] = {
        {"char", [](auto& b) { b << 'A' << static_cast<signed char>(-2); }, {0x41, 0xFE}},
        {"short", [](auto& b) { b << static_cast<unsigned short>(0x1234); }, {0x12, 0x34}},
        {"negative short", [](auto& b) { b << static_cast<short>(-2); }, {0xFF, 0xFE}},
        {"int", [](auto& b) { b << 0x12345678U; }, {0x12, 0x34, 0x56, 0x78}},
        {"long", [](auto& b) { b << -1L; }, Bytes(8, 0xFF)},
        {"unsigned long", [](auto& b) { b << 0x89UL; }, {0, 0, 0, 0, 0, 0, 0, 0x89}},
        {"long long", [](auto& b) { b << 0x0102030405060708LL; }, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"float", [](auto& b) { b << 1.0F; }, {0x3F, 0x80, 0, 0}},
        {"double", [](auto& b) { b << -2.0; }, {0xC0, 0, 0, 0, 0, 0, 0, 0}},
        {"string", [](auto& b) { b << std::string("ab"); }, {0, 0, 0, 2, 'a', 'b'}},
        {"empty string", [](auto& b) { b << std::string(); }, {0, 0, 0, 0}},
        {"vector",
         [](auto& b) {
             b << std::vector<unsigned short>{1, 2};
         },
         {0, 0, 0, 2, 0, 1, 0, 2}},
        {"bools, then a byte, then a bool",
         [](auto& b) { b << true << false << true << static_cast<unsigned char>(0x55) << true; },
         {0xA0, 0x55, 0x80}},
        {"nine bools",
         [](auto& b) {
             for (int i = 0; i < 9; ++i) {
                 b << (i == 0 || i >= 7);
             }
         },
         {0x81, 0x80}},
        {"raw bytes close a run of bools",
         [](auto& b) {
             b << true;
             EXPECT_EQ(b.write("xy", 2), 2);
             b << true;
         },
         {0x80, 'x', 'y', 0x80}},
        {"an empty write doesn't",
         [](auto& b) {
             b << true;
             EXPECT_EQ(b.write("xy", 0), 0);
             EXPECT_EQ(b.write(static_cast<const void*>(nullptr), 5), 0);
             b << true;
         },
         {0xC0}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Written(c.write), c.bytes) << c.name;
    }
}

/** Writes and reads back one value of `T`. */
template <typename T>
void ExpectRoundTrip(const T& value) {
    const Bytes bytes = Written([&](WriteableSmartBuffer& buffer) { buffer << value; });
    SmartBufferReader reader = ReaderOf(bytes);
    T result{};
    reader >> result;
    EXPECT_FALSE(reader.hasFailed());
    EXPECT_EQ(reader.bytesRemaining(), 0U);
    EXPECT_EQ(result, value);
}

TEST(SmartBuffer, ReadsBackWhatWasWritten) {
    ExpectRoundTrip<char>('\xFF');
    ExpectRoundTrip<signed char>(-128);
    ExpectRoundTrip<short>(-12345);
    ExpectRoundTrip<unsigned short>(54321);
    ExpectRoundTrip<int>(INT_MIN);
    ExpectRoundTrip<unsigned int>(UINT_MAX);
    ExpectRoundTrip<long>(LONG_MIN);
    ExpectRoundTrip<unsigned long>(ULONG_MAX);
    ExpectRoundTrip<long long>(-2);
    ExpectRoundTrip<unsigned long long>(1ULL << 63);
    ExpectRoundTrip<float>(-0.15625F);
    ExpectRoundTrip<double>(std::numeric_limits<double>::denorm_min());
    ExpectRoundTrip<std::string>("some text");
    ExpectRoundTrip<std::vector<std::string>>({"one", "", "three"});
    ExpectRoundTrip<std::vector<bool>>({false, false, true, true, false, false, true, true, true});
}

TEST(SmartBuffer, FailureSticksAndStoresNothing) {
    Bytes bytes(3, 0xEE);
    SmartBufferWriter writer;
    writer.initBuffer(bytes.data(), 3);
    writer << 1U << static_cast<unsigned char>(2) << true;
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(writer.getOffset(), 0U);
    EXPECT_EQ(bytes, Bytes(3, 0xEE));
    EXPECT_EQ(writer.setOffset(3), 0);
    EXPECT_FALSE(writer.hasFailed());
    writer << true;
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(writer.setOffset(4), -1);
    EXPECT_TRUE(writer.hasFailed());
}

TEST(SmartBuffer, FailedReadsLeaveTheirTargetsAlone) {
    const Bytes readerBytes = {1, 2, 3};
    SmartBufferReader reader = ReaderOf(readerBytes);
    unsigned int number = 77;
    unsigned char byte = 78;
    bool bit = true;
    float real = 1.5F;
    std::string text = "kept";
    reader >> number >> byte >> bit >> real >> text;
    EXPECT_TRUE(reader.hasFailed());
    EXPECT_EQ(number, 77U);
    EXPECT_EQ(byte, 78);
    EXPECT_TRUE(bit);
    EXPECT_EQ(real, 1.5F);
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(reader.rewind(), 0);
    reader >> byte;
    EXPECT_EQ(byte, 1);
}

TEST(SmartBuffer, UninitialisedAndNegativeAccessFailsButNotAnEmptyRawOne) {
    SmartBufferReader reader;
    char byte = 0;
    EXPECT_EQ(reader.read(&byte, 0), 0);
    EXPECT_EQ(reader.read(nullptr, 1), 0);
    EXPECT_FALSE(reader.hasFailed());
    reader >> byte;
    EXPECT_TRUE(reader.hasFailed());
    EXPECT_EQ(reader.initBuffer(&byte, 1), 0);
    EXPECT_EQ(reader.read(&byte, -1), 0);
    EXPECT_TRUE(reader.hasFailed());

    SmartBufferWriter writer;
    EXPECT_FALSE(writer.isInit());
    EXPECT_EQ(writer.initBuffer(nullptr, 5), -1);
    writer << true;
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(writer.initBuffer(&byte, 1), 0);
    EXPECT_EQ(writer.write(&byte, -1), 0);
    EXPECT_TRUE(writer.hasFailed());
}

TEST(SmartBuffer, BytesThatDoNotFitAreWrittenOneByOneUpToTheEnd) {
    Bytes raw(6, 9);
    SmartBufferWriter inOnePiece;
    inOnePiece.initBuffer(raw.data(), 6);
    EXPECT_EQ(inOnePiece.write("abcdefg", 7), 0);
    EXPECT_TRUE(inOnePiece.hasFailed());
    EXPECT_EQ(raw, Bytes(6, 9));

    SmartBufferWriter asVector;
    asVector.initBuffer(raw.data(), 6);
    asVector << std::vector<char>{'a', 'b', 'c'};
    EXPECT_TRUE(asVector.hasFailed());
    EXPECT_EQ(raw, (Bytes{0, 0, 0, 3, 'a', 'b'}));
}

TEST(SmartBuffer, SizingEndsAtFourGigabytesWithoutWrapping) {
    SmartBufferWriter writer;
    writer.initSizing();
    EXPECT_EQ(writer.setOffset(UINT32_MAX - 2), 0);
    writer << 1U;
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(writer.getOffset(), UINT32_MAX - 2);
    SmartBufferReader reader;
    reader.initSizing();
    unsigned int number = 5;
    bool bit = true;
    reader >> number >> bit;
    EXPECT_EQ(number, 5U);
    EXPECT_TRUE(bit);
    EXPECT_EQ(reader.getOffset(), 5U);
}

TEST(SmartBuffer, StringsEndAtAZeroByteAndMustFit) {
    const struct {
        Bytes bytes;
        const char* text;
        uint32_t left;
        bool fails;
    } cases[] = {
        {{0, 0, 0, 0}, "", 0, false},
        {{0, 0, 0, 3, 'a', 0, 'b', 9}, "a", 1, false},
        {{0xFF, 0xFF, 0xFF, 0xFF, 'a'}, "old", 1, true},
    };
    for (const auto& c : cases) {
        SmartBufferReader reader = ReaderOf(c.bytes);
        std::string text = "old";
        reader >> text;
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(reader.bytesRemaining(), c.left);
        EXPECT_EQ(reader.hasFailed(), c.fails);
    }
    // A vector takes what there is.
    std::vector<unsigned short> values = {9, 9, 9};
    const Bytes tooShort = {0xFF, 0xFF, 0xFF, 0xFF, 0, 7, 0, 8, 1};
    SmartBufferReader reader = ReaderOf(tooShort);
    reader >> values;
    EXPECT_TRUE(reader.hasFailed());
    EXPECT_EQ(values, (std::vector<unsigned short>{7, 8, 0}));
}

TEST(SmartBuffer, CheckpointsGoBackOnly) {
    Bytes bytes(16);
    SmartBufferWriter writer;
    writer.initBuffer(bytes.data(), 16);
    writer << 1U << true;
    const WriteableSmartBuffer::Checkpoint checkpoint = writer.getCheckpoint();
    writer << 2ULL << 3ULL;
    EXPECT_TRUE(writer.hasFailed());
    EXPECT_EQ(writer.restoreCheckpoint(checkpoint), 0);
    EXPECT_FALSE(writer.hasFailed());
    EXPECT_EQ(writer.getOffset(), 5U);
    writer << true;  // the run of bools ended with the restore
    EXPECT_EQ(writer.getOffset(), 6U);
    EXPECT_EQ(writer.restoreCheckpoint(WriteableSmartBuffer::Checkpoint()), -1);
    EXPECT_EQ(writer.setOffset(4), 0);
    EXPECT_EQ(writer.restoreCheckpoint(checkpoint), -1);
    EXPECT_EQ(writer.getOffset(), 4U);
}

TEST(SmartBuffer, ViewsStayInsideTheOther) {
    Bytes bytes = {10, 11, 12, 13};
    SmartBufferWriter writer;
    writer.initBuffer(bytes.data(), 4);
    const struct {
        uint32_t start, length;
        int result;
    } cases[] = {{0, 4, 0}, {1, 3, 0}, {4, 0, 0}, {5, 0, -1}, {1, 4, -1}, {2, UINT32_MAX, -1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.start << "+" << c.length);
        SmartBufferReader view;
        EXPECT_EQ(view.initView(writer, c.start, c.length), c.result);
        EXPECT_EQ(view.isInit(), c.result == 0);
        EXPECT_EQ(view.bytesRemaining(), c.result == 0 ? c.length : 0U);
    }
    SmartBufferReader reader = ReaderOf(bytes);
    EXPECT_EQ(reader.initView(reader, 1), 0);  // on itself
    unsigned char byte = 0;
    reader >> byte;
    EXPECT_EQ(byte, 11);
    EXPECT_EQ(reader.bytesRemaining(), 2U);
    EXPECT_EQ(reader.initView(reader, 4), -1);
    SmartBufferWriter none;
    EXPECT_EQ(none.initView(SmartBufferWriter(), 0), -1);
}

}  // namespace
