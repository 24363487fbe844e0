#include "companions/simulator/controller/pacer.h"

#include <sched.h>

#include <thread>

namespace controller {

namespace {

constexpr unsigned SPINS = 5000;
constexpr std::chrono::milliseconds YIELDING{20};
constexpr std::chrono::microseconds SILENCE_POLL_INTERVAL{100};
/** After this no transfer is under way, and dozens of controllers may share the machine. */
constexpr std::chrono::seconds LONG_SILENCE{1};
constexpr std::chrono::milliseconds LONG_SILENCE_POLL_INTERVAL{5};

}  // namespace

std::chrono::milliseconds Pacer::miss() {
    if (i_misses < SPINS) {
        ++i_misses;
        i_quietSince = i_misses == SPINS ? Clock::now() : i_quietSince;
        return {};
    }
    const auto quiet =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - i_quietSince);
    if (quiet < YIELDING) {
        sched_yield();
    } else if (quiet < LONG_SILENCE) {
        std::this_thread::sleep_for(SILENCE_POLL_INTERVAL);
    } else {
        std::this_thread::sleep_for(LONG_SILENCE_POLL_INTERVAL);
    }
    return quiet;
}

}  // namespace controller
