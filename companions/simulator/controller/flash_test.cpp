#include "companions/simulator/controller/flash.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace controller {

namespace {

FlashPage Page(uint16_t number, uint8_t fill) {
    const std::vector<uint8_t> data(PAGE_SIZE, fill);
    return {number, PageCrc(data), data};
}

TEST(Flash, KeepsWholePagesInOrderOnly) {
    Flash flash;
    EXPECT_EQ(flash.program(Page(0, 1)), PageResult::NotBegun);
    flash.erase();
    EXPECT_EQ(flash.program(Page(1, 1)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.pages(), 0U);
    EXPECT_EQ(flash.program(Page(0, 1)), PageResult::Good);
    EXPECT_EQ(flash.program(Page(1, 2)), PageResult::Good);
    EXPECT_EQ(flash.program(Page(0, 3)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.program(Page(3, 3)), PageResult::OutOfOrder);
    EXPECT_EQ(flash.size(), 2 * PAGE_SIZE);
    flash.erase();
    EXPECT_EQ(flash.pages(), 0U);
}

TEST(Flash, SavesTheLastVersionOfARepeatedPage) {
    Flash flash;
    flash.erase();
    flash.program(Page(0, 'a'));
    flash.program(Page(1, 'b'));
    EXPECT_EQ(flash.program(Page(1, 'c')), PageResult::Good);
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
