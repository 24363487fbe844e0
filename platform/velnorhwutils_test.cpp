#include "platform/velnorhwutils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <set>
#include <vector>

#include "tests/support/child.h"

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
    EXPECT_EQ(Numbers(GetAllSwitcherModes()), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
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

TEST(HardwareProfiles, AssertThatThePlatformExists) {
    void (*const lookups[])(e_VelnorType) = {
        [](e_VelnorType platform) { GetDefaultSwitcherMode(platform); },
        [](e_VelnorType platform) { GetDefaultNumMEs(platform); },
        [](e_VelnorType platform) { GetMaxNumMEs(platform); },
        [](e_VelnorType platform) { GetDefaultNumInputs(platform); },
        [](e_VelnorType platform) { GetMaxNumInputs(platform); },
        [](e_VelnorType platform) { AdjustNumInputs(platform, 17); },
    };
    for (const int number : {-1, 7}) {
        const auto platform = static_cast<e_VelnorType>(number);
        for (const auto& lookup : lookups) {
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

}  // namespace
