#include "tool/createtolmiracomms.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tests/support/child.h"
#include "tests/support/transcript.h"

using testsupport::Normalised;
using testsupport::Transcript;

namespace {

using namespace std::string_literals;

TEST(CreateTolmiraComms, StopsOnAModeWithoutADesign) {
    for (const e_SwitcherMode mode : GetAllSwitcherModes()) {
        std::vector<uint32_t> region(0x3000 / 4);
        const auto result = testsupport::RunInChild([&] {
            RouterCommsInterface* comms = CreateTolmiraComms(region.data(), mode);
            comms->writeAddress(5, 0x5A);
            printf("%02x", region[(0x2800 + 4 * 5) / 4]);
            delete comms;
        });
        if (mode <= e_SwitcherMode_2_5ME_3G) {
            EXPECT_EQ(result.out, "5a");
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
