#include "platform/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/framedirectory.h"

using testing::ElementsAre;

namespace {

class OptionsTest : public testing::Test {
  protected:
    Options loaded(const std::string& contents, e_VelnorType platform = e_VelnorType_Profile2) {
        i_frame.write("NANDdata/simapp/data/software.options", contents);
        Options options(platform);
        testing::internal::CaptureStdout();
        options.load();
        fflush(stdout);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        return options;
    }

    testsupport::FrameDirectory i_frame;
};

std::vector<int> Modes(const Options& options) {
    return {options.getAvailableSwitcherModes().begin(), options.getAvailableSwitcherModes().end()};
}

/** The values that the profile doesn't set. */
void ExpectDefaultsOfTheRest(const Options& options) {
    EXPECT_FALSE(options.getVistrolName().exists());
    EXPECT_EQ(options.getNumABU(), 1U);
    EXPECT_EQ(options.getNumConfAudioChannels(), 48U);
    EXPECT_EQ(options.getRoleBasedControlAccess(), 1U);
    EXPECT_THAT(options.getAuthVRQConnections(), ElementsAre(0, 0, 0));
    EXPECT_FALSE(options.getRbacMasterPassword().exists());
}

TEST_F(OptionsTest, StartFromTheProfile) {
    const Options options(e_VelnorType_Profile3);
    EXPECT_EQ(options.getAvailableMles(), 1U);
    EXPECT_EQ(options.getAvailableInputs(), 16U);
    EXPECT_EQ(options.getSwitcherMode(), e_SwitcherMode_Drovan);
    EXPECT_EQ(options.getMaxMles(), 3U);
    EXPECT_EQ(options.getMaxInputs(), 36U);
    EXPECT_THAT(Modes(options), ElementsAre(7, 8));
    ExpectDefaultsOfTheRest(options);

    const Options any;
    EXPECT_EQ(any.getSwitcherMode(), e_SwitcherMode_Pelwin_FCFS);
    EXPECT_EQ(any.getMaxInputs(), 24U);
    EXPECT_THAT(Modes(any), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

TEST_F(OptionsTest, WithoutAFileLogAndKeepEveryMode) {
    for (const bool isDirectory : {false, true}) {
        if (isDirectory) {
            std::filesystem::create_directories(
                i_frame.path("NANDdata/simapp/data/software.options"));
        }
        const auto result = testsupport::RunInChild([] {
            Options options(e_VelnorType_Profile2);
            options.load();
            printf("%zu modes, mode %d\n", options.getAvailableSwitcherModes().size(),
                   options.getSwitcherMode());
        });
        EXPECT_THAT(
            result.out,
            testing::MatchesRegex(
                "C: [0-9]+ S: CRITICAL T: p:[0-9]+ \"Software options file not present; using "
                "1 mle\\(s\\), 18 input\\(s\\) and switcherMode "
                "e_SwitcherMode_Pelwin_FCFS\\.\" at platform/options\\.cpp:[0-9]+\\.\n"
                "7 modes, mode 0\n"));
    }
}

TEST_F(OptionsTest, EmptyFileRemovesTheModesOfMoreMes) {
    const Options options = loaded("");
    EXPECT_EQ(options.getAvailableMles(), 1U);
    EXPECT_EQ(options.getAvailableInputs(), 18U);
    EXPECT_EQ(options.getSwitcherMode(), e_SwitcherMode_Pelwin_FCFS);
    EXPECT_THAT(Modes(options), ElementsAre(0, 1, 2, 3));
    ExpectDefaultsOfTheRest(options);
}

TEST_F(OptionsTest, ClampCounts) {
    const struct {
        const char* value;
        size_t mles, inputs, numABU, audioChannels;
    } cases[] = {
        {"0", 0, 0, 0, 0},        {"1", 1, 1, 1, 1},
        {"2", 2, 2, 2, 2},        {"3", 2, 3, 3, 3},
        {"4", 2, 4, 3, 4},        {"24", 2, 24, 3, 24},
        {"25", 2, 25 - 1, 3, 25}, {"49", 2, 24, 3, 48},
        {"-1", 2, 24, 3, 48},     {"4294967296", 2, 24, 3, 48},
        {"word", 0, 0, 0, 0},     {"", 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.value << '"');
        std::string contents;
        for (const char* key :
             {"availableMles", "availableInputs", "numABU", "numConfAudioChannels"}) {
            contents += std::string(key) + "=" + c.value + "\n";
        }
        const Options options = loaded(contents);
        EXPECT_EQ(options.getAvailableMles(), c.mles);
        EXPECT_EQ(options.getAvailableInputs(), c.inputs);
        EXPECT_EQ(options.getNumABU(), c.numABU);
        EXPECT_EQ(options.getNumConfAudioChannels(), c.audioChannels);
        EXPECT_EQ(Modes(options).size(), c.mles <= 1 ? 4U : 7U);
    }
}

TEST_F(OptionsTest, TakeAnAvailableSwitcherModeOnly) {
    const std::pair<const char*, int> cases[] = {
        {"switcherMode=3\n", 3},
        {"switcherMode=4\navailableMles=2\n", 4},
        {"switcherMode=6\navailableMles=2\n", 6},
        {"switcherMode=4\navailableMles=1\n", 0},
        {"switcherMode=4\n", 0},
        {"switcherMode=7\navailableMles=2\n", 0},
        {"switcherMode=11\n", 0},
        {"switcherMode=-1\n", 0},
        {"switcherMode=4294967297\n", 0},
        {"switcherMode=-4294967293\n", 0},
        {"[other]\nswitcherMode=3\navailableMles=2\n", 0},
    };
    for (const auto& [contents, mode] : cases) {
        EXPECT_EQ(loaded(contents).getSwitcherMode(), mode) << contents;
    }
    // Text that is not a number is 0, which this platform can't run; its own default stays.
    EXPECT_EQ(loaded("switcherMode=word\n", e_VelnorType_Profile1).getSwitcherMode(), 1);
    EXPECT_EQ(loaded("switcherMode=8\n", e_VelnorType_Profile3).getSwitcherMode(), 8);
}

TEST_F(OptionsTest, ReadBooleansAsIntegers) {
    const struct {
        const char* key;
        bool (Options::*getter)() const;
        bool initial;
    } fields[] = {
        {"logToUSB", &Options::getLogToUSB, false},
        {"autoDiscoveryOn", &Options::getAutoDiscoveryOn, true},
        {"useDefaultHTTPPort", &Options::getUseDefaultHTTPPort, false},
        {"webMediaAccess", &Options::getWebMediaAccess, true},
        {"ftpAccess", &Options::getFtpAccess, true},
        {"quibnetAccess", &Options::getQuibnetAccess, true},
    };
    for (const auto& field : fields) {
        SCOPED_TRACE(field.key);
        const std::string key = field.key;
        EXPECT_EQ((Options().*field.getter)(), field.initial);
        for (const char* value : {"1", "2", "-1", "99999999999999999999"}) {
            EXPECT_TRUE((loaded(key + "=" + value + "\n").*field.getter)()) << value;
        }
        for (const char* value : {"0", "true", "false", ""}) {
            EXPECT_FALSE((loaded(key + "=" + value + "\n").*field.getter)()) << value;
        }
        // Each field changes only by its own key.
        for (const auto& other : fields) {
            if (key != other.key) {
                const std::string contents = std::string(other.key) + (field.initial ? "=0" : "=1");
                EXPECT_EQ((loaded(contents + "\n").*field.getter)(), field.initial) << contents;
            }
        }
    }
}

TEST_F(OptionsTest, ReadTextWholeAndNumbersUnchecked) {
    const Options options = loaded(
        "vistrolName = My  Frame=1 \n"
        "rbacMasterPassword =\n"
        "roleBasedControlAccess = 4000000000\n"
        "authVRQConnections0 = -5\n"
        "authVRQConnections1 = word\n"
        "authVRQConnections2 = 2147483647\n"
        "authVRQConnections3 = 9\n"
        "unknown = 1\n");
    EXPECT_EQ(options.getVistrolName().data(), "My  Frame=1");
    ASSERT_TRUE(options.getRbacMasterPassword().exists());
    EXPECT_EQ(options.getRbacMasterPassword().data(), "");
    EXPECT_EQ(options.getRoleBasedControlAccess(), 4000000000U);
    EXPECT_THAT(options.getAuthVRQConnections(), ElementsAre(-5, 0, 2147483647));
    EXPECT_EQ(loaded("rbacMasterPassword=x\n").getRbacMasterPassword().data(), "x");

    Options adjusted = loaded("availableInputs=16\n");
    adjusted.adjustNumInputs(e_VelnorType_Profile5);
    EXPECT_EQ(adjusted.getAvailableInputs(), 16U);
    adjusted.adjustNumInputs(e_VelnorType_Profile2);
    EXPECT_EQ(adjusted.getAvailableInputs(), 18U);
}

}  // namespace
