#include "platform/velnorhwutils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <vector>

#include "platform/sharedconstants.h"
#include "tests/support/child.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

std::vector<int> Numbers(const std::set<e_SwitcherMode>& modes) {
    return {modes.begin(), modes.end()};
}

TEST(HardwareProfiles, HoldTheWholeTable) {
    const struct {
        e_VelnorType platform;
        int defaultMode;
        std::vector<int> modes;
        size_t defaultMEs, maxMEs, defaultInputs, maxInputs, adjusted16;
    } cases[] = {
        {e_VelnorType_Profile0, 0, {0, 1, 2, 3, 4, 5, 6}, 1, 2, 18, 24, 18},
        {e_VelnorType_Profile1, 1, {1, 2, 3, 4, 5, 6}, 1, 2, 18, 24, 18},
        {e_VelnorType_Profile2, 0, {0, 1, 2, 3, 4, 5, 6}, 1, 2, 18, 24, 18},
        {e_VelnorType_Profile3, 7, {7, 8}, 1, 3, 16, 36, 16},
        {e_VelnorType_Profile4, 7, {7}, 1, 3, 16, 36, 16},
        {e_VelnorType_Profile5, 10, {10}, 1, 2, 4, 12, 16},
        {e_VelnorType_Profile6, 9, {9}, 1, 1, 9, 9, 16},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.platform);
        EXPECT_EQ(&c - cases, c.platform);
        EXPECT_EQ(GetDefaultSwitcherMode(c.platform), c.defaultMode);
        EXPECT_EQ(Numbers(GetAvailableSwitcherModes(c.platform)), c.modes);
        EXPECT_EQ(GetDefaultNumMEs(c.platform), c.defaultMEs);
        EXPECT_EQ(GetMaxNumMEs(c.platform), c.maxMEs);
        EXPECT_EQ(GetDefaultNumInputs(c.platform), c.defaultInputs);
        EXPECT_EQ(GetMaxNumInputs(c.platform), c.maxInputs);
        EXPECT_EQ(AdjustNumInputs(c.platform, 16), c.adjusted16);
        for (const size_t count : {0U, 15U, 17U, 18U}) {
            EXPECT_EQ(AdjustNumInputs(c.platform, count), count);
        }
    }
}

TEST(HardwareProfiles, AssertAPlatform) {
    using Lookup = void (*)(e_VelnorType);
    const Lookup lookups[] = {
        [](e_VelnorType platform) { GetDefaultSwitcherMode(platform); },
        [](e_VelnorType platform) { GetDefaultNumMEs(platform); },
        [](e_VelnorType platform) { GetMaxNumMEs(platform); },
        [](e_VelnorType platform) { GetDefaultNumInputs(platform); },
        [](e_VelnorType platform) { GetMaxNumInputs(platform); },
        [](e_VelnorType platform) { AdjustNumInputs(platform, 17); },
    };
    for (const int number : {-1, 7}) {
        const auto platform = static_cast<e_VelnorType>(number);
        for (const Lookup lookup : lookups) {
            const auto result = testsupport::RunInChild([&] { lookup(platform); });
            EXPECT_EQ(result.signal, SIGABRT);
            EXPECT_THAT(result.out, MatchesRegex("S: EMERGENCY T: p:[0-9]+ \"Assertion \"\"Invalid "
                                                 "hardwarePlatform specified\"\" failed\\.\" at "
                                                 "platform/velnorhwutils\\.cpp:[0-9]+\\.\n"));
            EXPECT_THAT(result.err, HasSubstr("Assertion `false' failed"));
        }
        EXPECT_TRUE(GetAvailableSwitcherModes(platform).empty());
    }
}

// The names go out into the log, the numbers into the options file.
TEST(SwitcherModes, HaveTheirNumbersAndNames) {
    const char* const names[] = {
        "e_SwitcherMode_Pelwin_FCFS", "e_SwitcherMode_Pelwin",  "e_SwitcherMode_Pelwin_25_2997",
        "e_SwitcherMode_Pelwin_3G",   "e_SwitcherMode_2_5ME",   "e_SwitcherMode_2_5ME_25_2997",
        "e_SwitcherMode_2_5ME_3G",    "e_SwitcherMode_Drovan",  "e_SwitcherMode_Drovan_FCFS",
        "e_SwitcherMode_Orvatin",     "e_SwitcherMode_Kestane",
    };
    int number = 0;
    for (const char* name : names) {
        e_SwitcherMode mode = e_SwitcherMode_Kestane;
        EXPECT_TRUE(EnumConverter::StringToEnum(name, &mode)) << name;
        EXPECT_EQ(mode, number++) << name;
        EXPECT_STREQ(EnumConverter::EnumToString(mode), name);
    }
    EXPECT_THAT(Numbers(GetAllSwitcherModes()), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

TEST(SharedConstants, KeepTheirOrder) {
    EXPECT_THAT(parityNames, ElementsAre("None", "Odd", "Even"));
    EXPECT_THAT(baudRateNames,
                ElementsAre("2400", "4800", "9600", "19200", "38400", "57600", "115200"));
    EXPECT_THAT(floatSteps, ElementsAre(-128, -50, -40, -30, -20, -15, -10, -8, -6, -4, -2, -1, 0,
                                        1, 2, 4, 6, 8, 10));
}

}  // namespace
