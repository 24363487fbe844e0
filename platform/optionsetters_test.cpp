#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "cpputils/include/returncodes.h"
#include "platform/options.h"
#include "tests/support/framedirectory.h"
#include "thread/systemcaller.h"

namespace {

constexpr char OPTIONS_FILE[] = "NANDdata/simapp/data/software.options";

TEST(OptionSetters, WriteOneKeyAndKeepTheRest) {
    const testsupport::FrameDirectory frame;
    using Text = Optional<std::string>;
    const Options options(e_VelnorType_Profile2);
    const size_t maxInputs = options.getMaxInputs();
    const size_t maxMles = options.getMaxMles();
    const struct {
        std::string line;
        std::function<int(const Options&)> set;
    } cases[] = {
        {"availableInputs=" + std::to_string(maxInputs),
         [=](const Options& o) { return o.setAvailableInputs(maxInputs); }},
        {"", [=](const Options& o) { return o.setAvailableInputs(maxInputs + 1); }},
        {"availableMles=" + std::to_string(maxMles),
         [=](const Options& o) { return o.setAvailableMles(maxMles); }},
        {"", [=](const Options& o) { return o.setAvailableMles(maxMles + 1); }},
        {"switcherMode=" + std::to_string(options.getSwitcherMode()),
         [](const Options& o) { return o.setSwitcherMode(o.getSwitcherMode()); }},
        {"", [](const Options& o) { return o.setSwitcherMode(static_cast<e_SwitcherMode>(99)); }},
        {"logToUSB=1", [](const Options& o) { return o.setLogToUSB(true); }},
        {"webMediaAccess=0", [](const Options& o) { return o.setWebMediaAccess(false); }},
        {"ftpAccess=0", [](const Options& o) { return o.setFtpAccess(false); }},
        {"quibnetAccess=0", [](const Options& o) { return o.setQuibnetAccess(false); }},
        {"autoDiscoveryOn=0", [](const Options& o) { return o.setAutoDiscoveryOn(false); }},
        {"roleBasedControlAccess=4000000000",
         [](const Options& o) { return o.setRoleBasedControlAccess(4'000'000'000U); }},
        {"numABU=9", [](const Options& o) { return o.setNumABU(9); }},
        {"numConfAudioChannels=99", [](const Options& o) { return o.setNumConfAudioChannels(99); }},
        {"authVRQConnections2=-5", [](const Options& o) { return o.setAuthVRQConnections(2, -5); }},
        {"vistrolName=My Frame",
         [](const Options& o) { return o.setVistrolName(Text("My Frame")); }},
        {"rbacMasterPassword=", [](const Options& o) { return o.setRbacMasterPassword(Text("")); }},
    };
    testing::internal::CaptureStdout();
    for (const auto& c : cases) {
        frame.write(OPTIONS_FILE, "# gone\nzone=1\n[other]\nkey=value\n");
        const std::string untouched = frame.read(OPTIONS_FILE);
        const std::string expected = "  " + c.line + "\n  zone=1\n\n[other]\n  key=value\n\n";
        EXPECT_EQ(c.set(options), c.line.empty() ? e_Error_InvalidArgument : 0) << c.line;
        EXPECT_EQ(frame.read(OPTIONS_FILE), c.line.empty() ? untouched : expected);
    }
    frame.write(OPTIONS_FILE, "vistrolName=only\n");
    EXPECT_EQ(options.setVistrolName(Text()), 0);
    EXPECT_EQ(frame.read(OPTIONS_FILE), "");
    fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");  // no slave was needed
    EXPECT_FALSE(options.getVistrolName().exists());
}

TEST(OptionSetters, MakeTheDirectoryOfTheFile) {
    const testsupport::FrameDirectory frame;
    testing::internal::CaptureStdout();
    SystemCaller::instance().initialize(SYSCALLSLAVE);
    const Options options;
    EXPECT_EQ(options.setNumABU(2), 0);
    EXPECT_EQ(frame.read(OPTIONS_FILE), "  numABU=2\n\n");

    std::filesystem::remove_all(frame.path("NANDdata"));
    frame.write("NANDdata", "in the way");
    EXPECT_EQ(options.setNumABU(2), e_Error_NotFound);
    fflush(stdout);
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::ContainsRegex(
                    "S: ERROR T: p:[0-9]+ \"UNABLE TO MAKE DIR ../NANDdata/simapp/data\""));
}

}  // namespace
