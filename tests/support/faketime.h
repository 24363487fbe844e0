#pragma once

#include <sys/time.h>

#include <functional>

namespace testsupport {

/**
 * Takes the place of the wall clock and of sleep in its thread while it lives. Only the test moves
 * the time; a sleep returns at once and moves it on.
 */
class FakeTime {
  public:
    explicit FakeTime(timeval start);
    ~FakeTime();
    FakeTime(const FakeTime&) = delete;
    FakeTime& operator=(const FakeTime&) = delete;

    void advance(timeval by);

    timeval now;
    /** How often the clock was read, and how many seconds were slept. */
    int readings = 0;
    unsigned int slept = 0;
    /** Called in front of each reading, when set. */
    std::function<void()> beforeReading;
};

}  // namespace testsupport
