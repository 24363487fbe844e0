#pragma once

#include <sys/time.h>

#include <ctime>

/**
 * True if `timeout` is a length of time: no part negative, less than a second of microseconds, and
 * short enough to be added to the clock.
 */
[[nodiscard]] bool IsValidTimeout(const timeval& timeout);

/** The moment `timeout` from now, on the real-time clock that the timed waits go by. */
timespec DeadlineAfter(const timeval& timeout);
