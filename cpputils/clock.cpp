#include "cpputils/include/clock.h"

namespace {

constexpr uint32_t MICROSECONDS_PER_SECOND = 1000000;

template <typename Count>
Count TicksToMicroseconds(Count ticks, uint32_t rate) {
    return rate != 0 ? ticks / rate : 0;
}

template <typename Count>
timeval& FillTimeval(Count microseconds, timeval& time) {
    time.tv_sec = static_cast<time_t>(microseconds / MICROSECONDS_PER_SECOND);
    time.tv_usec = static_cast<suseconds_t>(microseconds % MICROSECONDS_PER_SECOND);
    return time;
}

/** Wraps at the width of Count. A negative part counts as its two's complement. */
template <typename Count>
Count TimevalToMicroseconds(const timeval& time) {
    return static_cast<Count>(time.tv_sec) * MICROSECONDS_PER_SECOND +
           static_cast<Count>(time.tv_usec);
}

}  // namespace

void Clock::setRate(uint32_t ticksPerMicrosecond) {
    if (ticksPerMicrosecond != 0) {
        i_ticksPerMicrosecond = ticksPerMicrosecond;
    }
}

uint32_t Clock::ticksToMicroseconds(uint32_t ticks) const {
    return TicksToMicroseconds(ticks, i_ticksPerMicrosecond);
}

uint64_t Clock::ticksToMicroseconds(uint64_t ticks) const {
    return TicksToMicroseconds(ticks, i_ticksPerMicrosecond);
}

uint32_t Clock::microsecondsToTicks(uint32_t microseconds) const {
    return microseconds * i_ticksPerMicrosecond;
}

uint64_t Clock::microsecondsToTicks(uint64_t microseconds) const {
    return microseconds * i_ticksPerMicrosecond;
}

timeval& Clock::ticksToTimeval(uint32_t ticks, timeval& time) const {
    return FillTimeval(ticksToMicroseconds(ticks), time);
}

timeval& Clock::ticksToTimeval(uint64_t ticks, timeval& time) const {
    return FillTimeval(ticksToMicroseconds(ticks), time);
}

uint32_t Clock::timevalToTicks(const timeval& time) const {
    return microsecondsToTicks(TimevalToMicroseconds<uint32_t>(time));
}

uint64_t Clock::timevalToTicks64(const timeval& time) const {
    return microsecondsToTicks(TimevalToMicroseconds<uint64_t>(time));
}
