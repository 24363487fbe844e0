#include "platform/cpurate.h"

#include <cstdint>
#include <sstream>

#include "cpputils/include/clock.h"
#include "platform/configuration.h"

namespace {
constexpr uint32_t DEFAULT_CPU_RATE = 666;
}

void CpuRateFromConfiguration(const Configuration& configuration) {
    uint32_t rate = DEFAULT_CPU_RATE;
    std::istringstream stream;
    if (configuration.getValue(defaultSection, "CPU_RATE", stream) == 0) {
        // Read as 32 bits: a larger number becomes the largest; truncated it could be 0.
        stream >> rate;
    }
    Clock::instance().setRate(rate);
}
