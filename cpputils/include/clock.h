#pragma once

#include <sys/time.h>

#include <cstdint>

/**
 * The process's wall clock, and conversions between microseconds and ticks of the processor clock.
 *
 * The rate is set once, at start-up on the main thread, and only read afterwards, so nothing is
 * locked. Until it is set, it is 0 and every conversion yields 0. Reading the time needs no rate.
 *
 * Ticks and microseconds are unsigned and wrap at the width of the argument: at 666 ticks per
 * microsecond, 32-bit ticks wrap after 6.4 seconds.
 */
class Clock {
  public:
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    // Inline and constant-initialised: a polling loop pays for neither a call nor a check of
    // whether the object is built.
    static Clock& instance() {
        static Clock clock;
        return clock;
    }

    /** Ticks per microsecond, which is the clock rate in MHz; 0 is ignored. */
    void setRate(uint32_t ticksPerMicrosecond);

    uint32_t ticksToMicroseconds(uint32_t ticks) const;
    uint64_t ticksToMicroseconds(uint64_t ticks) const;
    uint32_t microsecondsToTicks(uint32_t microseconds) const;
    uint64_t microsecondsToTicks(uint64_t microseconds) const;

    /** Fill and return `time`. */
    timeval& ticksToTimeval(uint32_t ticks, timeval& time) const;
    timeval& ticksToTimeval(uint64_t ticks, timeval& time) const;

    /** Truncates seconds and microseconds to 32 bits first. */
    uint32_t timevalToTicks(const timeval& time) const;
    uint64_t timevalToTicks64(const timeval& time) const;

    /** The time since the epoch. A null pointer is ignored. */
    void getTimeOfDay(timeval* now) const {
        if (now != nullptr) {
            gettimeofday(now, nullptr);
        }
    }

    time_t secondsNow() const {
        timeval now = {};
        getTimeOfDay(&now);
        return now.tv_sec;
    }

  private:
    constexpr Clock() = default;

    uint32_t i_ticksPerMicrosecond = 0;
};
