#include "thread/deadline.h"

namespace {

constexpr suseconds_t MicrosecondsPerSecond = 1000000;
constexpr long NanosecondsPerMicrosecond = 1000;

}  // namespace

bool IsValidTimeout(const timeval& timeout) {
    return timeout.tv_sec >= 0 && timeout.tv_usec >= 0 && timeout.tv_usec < MicrosecondsPerSecond;
}

timespec DeadlineAfter(const timeval& timeout) {
    timeval time = {};
    gettimeofday(&time, nullptr);
    time.tv_sec += timeout.tv_sec;
    time.tv_usec += timeout.tv_usec;
    if (time.tv_usec >= MicrosecondsPerSecond) {
        time.tv_sec += 1;
        time.tv_usec -= MicrosecondsPerSecond;
    }
    return {time.tv_sec, time.tv_usec * NanosecondsPerMicrosecond};
}
