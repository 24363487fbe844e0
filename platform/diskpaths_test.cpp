#include <gtest/gtest.h>

#include "platform/diskaccess.h"

namespace {

TEST(StoragePaths, JoinedOnesAreFinished) {
    EXPECT_EQ(systemSchemeDir, "src/panel/schemes");
    EXPECT_EQ(usbMountDir, "../USBdata/usb0");
    EXPECT_EQ(usbSwitcherDir, "../USBdata/usb0/switcher");
    EXPECT_EQ(workingSetDir, "../NANDdata/workingset");
    EXPECT_EQ(ipConfigDir, "../NANDdata/systemdata/ipconfig");
    EXPECT_EQ(edlDir, "../NANDdata/EDLfiles");
    EXPECT_EQ(optionsDir + softwareOptionsFile, "../NANDdata/simapp/data/software.options");
}

TEST(StorageLocation, HasAWord) {
    const struct {
        e_StorageLocation location;
        const char* word;
    } cases[] = {
        {e_StorageLocation_Internal, "internal"},
        {e_StorageLocation_Usb, "usb"},
        {e_StorageLocation_Temporary, "temporary"},
    };
    int value = 0;
    for (const auto& c : cases) {
        EXPECT_EQ(c.location, value++);
        EXPECT_EQ(storageLocationToString(c.location), c.word);
        EXPECT_EQ(storageLocationFromString(c.word), c.location);
    }
    EXPECT_EQ(storageLocationToString(static_cast<e_StorageLocation>(3)), "internal");
    for (const char* word : {"USB", "usb ", "", "us"}) {
        EXPECT_EQ(storageLocationFromString(word), e_StorageLocation_Internal) << word;
    }
}

}  // namespace
