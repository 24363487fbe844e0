#pragma once

#include <sys/time.h>

/** Which of two descriptors can be read without blocking; the end of the stream counts. */
struct ReadableEnds {
    bool first = false;
    bool second = false;
};

/**
 * Waits until one of two descriptors, of any number, is readable. Returns the same as select: the
 * count of readable ones, 0 after `timeout` (null waits for ever), or -1 with errno. errno is EBADF
 * for a descriptor that isn't open, EINVAL for a negative or too large timeout, or EINTR.
 */
[[nodiscard]] int WaitReadable(int first, int second, const timeval* timeout,
                               ReadableEnds& readable);
