#pragma once

#include <sys/time.h>

#include <ctime>

/**
 * True if `timeout` is a valid length of time: no part is negative, there are fewer than 1000000
 * microseconds, and it can be added to the clock.
 */
[[nodiscard]] bool IsValidTimeout(const timeval& timeout);

/** The time `timeout`, a valid one, from now, on the real-time clock, which the timed waits use. */
timespec DeadlineAfter(const timeval& timeout);
