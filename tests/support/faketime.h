#pragma once

#include <sys/time.h>

#include <functional>

namespace testsupport {

/**
 * Replaces the wall clock and sleep in its thread while it lives. Only the test advances the time;
 * a sleep returns at once and advances it too.
 */
class FakeTime {
  public:
    explicit FakeTime(timeval start);
    ~FakeTime();
    FakeTime(const FakeTime&) = delete;
    FakeTime& operator=(const FakeTime&) = delete;

    void advance(timeval by);

    timeval now;
    /** The number of readings, and the seconds slept. */
    int readings = 0;
    unsigned int slept = 0;
    /** If set, called before each reading. */
    std::function<void()> beforeReading;
};

}  // namespace testsupport
