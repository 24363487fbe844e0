#include "platform/cpurate.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "cpputils/include/clock.h"
#include "platform/configuration.h"
#include "tests/support/child.h"

namespace {

constexpr uint32_t ONE_MICROSECOND = 1;

/** The rate after one call for each value, in a child process. Null: no key. */
std::string RateAfter(const std::vector<const char*>& values) {
    return testsupport::RunInChild([&] {
               for (const char* value : values) {
                   Configuration configuration;
                   configuration.setValue("other", "CPU_RATE", "5");
                   if (value != nullptr) {
                       configuration.setValue("CPU_RATE", value);
                   }
                   CpuRateFromConfiguration(configuration);
               }
               printf("%u", Clock::instance().microsecondsToTicks(ONE_MICROSECOND));
           })
        .out;
}

TEST(CpuRate, ComesFromTheConfiguration) {
    const std::pair<std::vector<const char*>, const char*> cases[] = {
        {{nullptr}, "666"},
        {{""}, "666"},
        {{"1000"}, "1000"},
        {{"1000 MHz"}, "1000"},
        {{"0"}, "0"},
        {{"abc"}, "0"},
        {{"4294967296"}, "4294967295"},
        {{"1000", "0"}, "1000"},
        {{"1000", "abc"}, "1000"},
        {{"1000", nullptr}, "666"},
    };
    for (const auto& [values, rate] : cases) {
        EXPECT_EQ(RateAfter(values), rate) << (values.back() != nullptr ? values.back() : "no key");
    }
}

}  // namespace
