#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "platform/diskaccess.h"

namespace {

// A digest (FNV-1a) of all names and texts, so that any change is noticed.
TEST(StoragePaths, AreThoseOfTheFrame) {
    std::string all;
#define STORAGE_PATH_LINE(name, text) all += #name "=" + name + "\n";
    STORAGE_PATHS(STORAGE_PATH_LINE)
#undef STORAGE_PATH_LINE
    std::uint64_t digest = 0xcbf29ce484222325;
    for (const char c : all) {
        digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
    EXPECT_EQ(digest, 0x13a6e89b20637275U) << all;
}

TEST(StorageLocation, HasAWord) {
    const std::pair<e_StorageLocation, const char*> cases[] = {
        {e_StorageLocation_Internal, "internal"},
        {e_StorageLocation_Usb, "usb"},
        {e_StorageLocation_Temporary, "temporary"},
    };
    int value = 0;
    for (const auto& [location, word] : cases) {
        EXPECT_EQ(location, value++);
        EXPECT_EQ(storageLocationToString(location), word);
        EXPECT_EQ(storageLocationFromString(word), location);
    }
    EXPECT_EQ(storageLocationToString(static_cast<e_StorageLocation>(3)), "internal");
    for (const char* word : {"USB", "usb ", "", "us"}) {
        EXPECT_EQ(storageLocationFromString(word), e_StorageLocation_Internal) << word;
    }
}

}  // namespace
