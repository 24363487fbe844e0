#include "thread/deadline.h"

#include <limits>

namespace {

constexpr suseconds_t MICROSECONDS_PER_SECOND = 1000000;
constexpr long NANOSECONDS_PER_MICROSECOND = 1000;

}  // namespace

bool IsValidTimeout(const timeval& timeout) {
    constexpr time_t maxSeconds = std::numeric_limits<time_t>::max() / 2;
    return timeout.tv_sec >= 0 && timeout.tv_sec <= maxSeconds && timeout.tv_usec >= 0 &&
           timeout.tv_usec < MICROSECONDS_PER_SECOND;
}

timespec DeadlineAfter(const timeval& timeout) {
    timeval time = {};
    gettimeofday(&time, nullptr);
    time.tv_sec += timeout.tv_sec;
    time.tv_usec += timeout.tv_usec;
    if (time.tv_usec >= MICROSECONDS_PER_SECOND) {
        time.tv_sec += 1;
        time.tv_usec -= MICROSECONDS_PER_SECOND;
    }
    return {time.tv_sec, time.tv_usec * NANOSECONDS_PER_MICROSECOND};
}
