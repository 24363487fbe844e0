#include "companions/simulator/controller/flash.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace controller {

namespace {

std::vector<uint8_t> Text(const std::string& text) {
    return {text.begin(), text.end()};
}

FlashPage GoodPage(uint16_t number, uint8_t fill) {
    FlashPage page;
    page.number = number;
    page.data.assign(PAGE_SIZE, fill);
    page.crc = PageCrc(page.data);
    return page;
}

TEST(PageCrc, HasTheKnownCheckValues) {
    EXPECT_EQ(PageCrc({}), 0xFFFF);
    EXPECT_EQ(PageCrc({0}), 0x40BF);
    EXPECT_EQ(PageCrc(Text("123456789")), 0x4B37);
    EXPECT_EQ(PageCrc(std::vector<uint8_t>(256, 0)), 0x64BF);
}

TEST(Flash, KeepsPagesInOrderOnly) {
    Flash flash;
    EXPECT_EQ(flash.program(GoodPage(0, 1)), PageResult::NotBegun);
    flash.erase();
    EXPECT_EQ(flash.program(GoodPage(1, 1)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.program(GoodPage(0, 1)), PageResult::Good);
    EXPECT_EQ(flash.program(GoodPage(1, 2)), PageResult::Good);
    EXPECT_EQ(flash.program(GoodPage(0, 3)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.program(GoodPage(3, 3)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.size(), 2 * PAGE_SIZE);
    flash.erase();
    EXPECT_EQ(flash.pages(), 0U);
}

TEST(Flash, RefusesSpoiltPages) {
    Flash flash;
    flash.erase();
    FlashPage wrongCrc = GoodPage(0, 1);
    wrongCrc.data[255] ^= 0x80;
    FlashPage shortPage = GoodPage(0, 1);
    shortPage.data.pop_back();
    shortPage.crc = PageCrc(shortPage.data);
    EXPECT_EQ(flash.program(wrongCrc), PageResult::BadCrc);
    EXPECT_EQ(flash.program(shortPage), PageResult::BadSize);
    EXPECT_EQ(flash.pages(), 0U);
}

TEST(Flash, SavesTheLastVersionOfARepeatedPage) {
    Flash flash;
    flash.erase();
    flash.program(GoodPage(0, 'a'));
    flash.program(GoodPage(1, 'b'));
    EXPECT_EQ(flash.program(GoodPage(1, 'c')), PageResult::Good);
    const std::string name = testing::TempDir() + "flash_test." + std::to_string(getpid());
    ASSERT_TRUE(flash.save(name));
    std::ifstream file(name, std::ios::binary);
    const std::string held((std::istreambuf_iterator<char>(file)), {});
    EXPECT_EQ(held, std::string(256, 'a') + std::string(256, 'c'));
    remove(name.c_str());
    EXPECT_FALSE(flash.save(name + "/below-a-file"));
}

}  // namespace

}  // namespace controller
