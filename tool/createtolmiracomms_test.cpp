#include "tool/createtolmiracomms.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <typeinfo>
#include <vector>

#include "link/mailbox.h"
#include "tests/support/child.h"
#include "tests/support/transcript.h"

using testsupport::Normalised;
using testsupport::Transcript;

namespace {

using namespace std::string_literals;

// By mode. Only the object's type shows the design: the mailbox has the same place in all of them.
constexpr const char* DESIGNS[] = {"mm_fcfs", "dve",     "dve",       "dve_3g",
                                   "dve_2_5", "dve_2_5", "dve_3g_2_5"};

TEST(CreateTolmiraComms, BuildsTheDesignOfTheModeOrStops) {
    for (const e_SwitcherMode mode : GetAllSwitcherModes()) {
        std::vector<uint32_t> region(0x3000 / 4);
        const auto result = testsupport::RunInChild([&] {
            RouterCommsInterface* comms = CreateTolmiraComms(region.data(), mode);
            comms->writeAddress(5, 0x5A);
            printf("%02x %s", region[(MAILBOX_OFFSET + size_t{4} * MAILBOX_RX_DATA) / 4],
                   typeid(*comms).name());
            delete comms;
        });
        if (mode <= e_SwitcherMode_2_5ME_3G) {
            EXPECT_EQ(result.out.substr(0, 3), "5a ");
            const std::string name = "Design_velnor_vp_"s + DESIGNS[mode] + 'I';  // as mangled
            EXPECT_NE(result.out.find(name), std::string::npos) << result.out;
        } else {
            Transcript expected;
            expected.critical("Unknown SwitcherMode "s + EnumConverter::EnumToString(mode))
                .assertion("false");
            EXPECT_EQ(Normalised(result.out), expected.text());
            EXPECT_EQ(result.signal, SIGABRT);
        }
    }
}

}  // namespace
