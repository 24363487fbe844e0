#pragma once

#include <sys/time.h>

/** Which of two descriptors can be read without blocking; the end of the stream counts. */
struct ReadableEnds {
    bool first = false;
    bool second = false;
};

/**
 * Waits until one of two descriptors, of any number, is readable. The results are those of select:
 * the count of readable ones, 0 when `timeout` has passed (null waits for ever), or -1 with errno:
 * EBADF for a descriptor that isn't open, EINVAL for a negative timeout, EINTR.
 */
[[nodiscard]] int WaitReadable(int first, int second, const timeval* timeout,
                               ReadableEnds& readable);
