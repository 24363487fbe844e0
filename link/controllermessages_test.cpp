#include "link/controllermessages.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "link/routercrc.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Packed(const Packable& object) {
    Bytes bytes(1024);
    SmartBufferWriter writer;
    writer.initBuffer(bytes.data(), static_cast<uint32_t>(bytes.size()));
    writer << object;
    EXPECT_FALSE(writer.hasFailed());
    bytes.resize(writer.getOffset());
    return bytes;
}

/** False if there were too few bytes. */
bool Unpack(const Bytes& bytes, Packable& object) {
    SmartBufferReader reader;
    const unsigned char none = 0;
    reader.initBuffer(bytes.empty() ? &none : bytes.data(), static_cast<uint32_t>(bytes.size()));
    reader >> object;
    return !reader.hasFailed();
}

TEST(RouterCrc, IsCrc16Modbus) {
    const std::pair<std::string, Bytes> cases[] = {
        // packed low byte first
        {"", {0xFF, 0xFF}},
        {"123456789", {0x37, 0x4B}},
        {std::string(1, '\0'), {0xBF, 0x40}},
        {std::string(256, '\0'), {0xBF, 0x64}},
        {"\xFF\x80", {0x41, 0xE0}},
    };
    for (const auto& [text, packed] : cases) {
        const RouterCrc crc(std::vector<char>(text.begin(), text.end()));
        EXPECT_EQ(crc, RouterCrc(std::vector<unsigned char>(text.begin(), text.end())));
        EXPECT_EQ(Packed(crc), packed);
        RouterCrc unpacked;
        EXPECT_TRUE(Unpack(packed, unpacked));
        EXPECT_EQ(unpacked, crc);
    }
}

// Including a blank and a newline, which formatted input would skip.
TEST(RouterCrc, StreamsItsTwoBytesRaw) {
    for (const int byte : {0x20, 0x0A, 0x00, 0x41}) {
        const auto low = static_cast<unsigned char>(byte);
        RouterCrc crc;
        ASSERT_TRUE(Unpack({low, 0x0D}, crc));
        std::stringstream stream;
        stream << std::setw(9) << crc;
        EXPECT_EQ(stream.str(), std::string({static_cast<char>(low), '\x0D'}));
        RouterCrc read;
        stream >> read;
        EXPECT_TRUE(stream.good());
        EXPECT_EQ(read, crc);
    }
    std::istringstream tooShort("x");
    RouterCrc read;
    tooShort >> read;
    EXPECT_TRUE(tooShort.fail());
}

TEST(ControllerMessages, PackTheirFieldsInOrder) {
    const std::vector<char> data = {'a', '\xFF'};
    const ControllerFlashPage page(0x1234, data, RouterCrc(std::vector<char>()));
    EXPECT_EQ(Packed(page), Bytes({0x12, 0x34, 0xFF, 0xFF, 0, 0, 0, 2, 'a', 0xFF}));
    ControllerFlashPage read(9, std::vector<char>(20, 'x'), RouterCrc(data));
    EXPECT_TRUE(Unpack(Packed(page), read));
    EXPECT_EQ(read.pageNumber(), 0x1234);
    EXPECT_EQ(read.data(), data);
    EXPECT_EQ(read.crc(), RouterCrc());

    EXPECT_EQ(Packed(ControllerInputChangeMessage(0x0102, 0x0304)), Bytes({1, 2, 3, 4}));
    EXPECT_EQ(Packed(ControllerLogData(1, 2, 0x03000000)),
              Bytes({0, 0, 0, 1, 0, 0, 0, 2, 3, 0, 0, 0}));
    EXPECT_EQ(Packed(ControllerInputChangeMessage()), Bytes(4, 0));
    EXPECT_EQ(Packed(ControllerLogData()), Bytes(12, 0));
    ControllerInputChangeMessage change;
    EXPECT_TRUE(Unpack({1, 2, 3, 4}, change));
    EXPECT_TRUE(change.first() == 0x0102 && change.second() == 0x0304);
    ControllerLogData log;
    EXPECT_TRUE(Unpack(Packed(ControllerLogData(7, 8, 9)), log));
    EXPECT_TRUE(log.first() == 7 && log.second() == 8 && log.third() == 9);
    ControllerUpgradeInfo info;
    EXPECT_TRUE(Unpack({0, 3, 0xBE, 0xEF}, info));
    EXPECT_TRUE(info.pages() == 3 && info.checksum() == 0xBEEF);
}

TEST(ControllerMessages, ResultWithoutAByteCountsAsBad) {
    ControllerFlashPageResult good;
    EXPECT_TRUE(Unpack({0}, good));
    EXPECT_EQ(good.result(), 0);
    TolmiraFlashPageResultMessage none;
    EXPECT_FALSE(Unpack({}, none));
    EXPECT_EQ(none.payload().result(), 0xFF);
}

TEST(EmptyData, SavesItsVersionUnderItsOwnName) {
    const EmptyData empty;
    EXPECT_EQ(Packed(empty), Bytes());
    EXPECT_TRUE(empty == EmptyData());
    EXPECT_FALSE(empty != EmptyData());
    node_type node;
    EXPECT_TRUE(empty.serialize(node));
    EXPECT_EQ(node.class_name(), "EmptyData");
    EXPECT_EQ(node.get("i_version", std::string()), "106");
    EmptyData loaded;
    EXPECT_TRUE(loaded.deserialize(node_type()));
    node_type again;
    EXPECT_TRUE(loaded.serialize(again));
    EXPECT_FALSE(again.is_set("i_version"));  // version 0 isn't stored
}

}  // namespace
