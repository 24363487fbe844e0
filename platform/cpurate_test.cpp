#include "platform/cpurate.h"

#include <gtest/gtest.h>

#include <string>

#include "cpputils/include/clock.h"
#include "platform/configuration.h"
#include "tests/support/child.h"

namespace {

constexpr uint32_t ONE_MICROSECOND = 1;

/** The rate behind the calls, one for each value, in a process of its own. Null: no key. */
std::string RateAfter(std::initializer_list<const char*> values) {
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
    const struct {
        std::initializer_list<const char*> values;
        const char* rate;
    } cases[] = {
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
    for (const auto& c : cases) {
        const char* const last = *(c.values.end() - 1);
        EXPECT_EQ(RateAfter(c.values), c.rate) << (last != nullptr ? last : "no key");
    }
}

}  // namespace
