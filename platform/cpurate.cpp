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
        // A larger number becomes the largest 32-bit number. Truncated, it could become 0.
        stream >> rate;
    }
    Clock::instance().setRate(rate);
}
