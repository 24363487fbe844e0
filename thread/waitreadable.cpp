#include "thread/waitreadable.h"

#include <poll.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr long MICROSECONDS_PER_SECOND = 1'000'000;
constexpr long NANOSECONDS_PER_MICROSECOND = 1'000;

bool IsReadable(const pollfd& entry) {
    return (entry.revents & (POLLIN | POLLHUP | POLLERR)) != 0;
}

bool IsClosed(const pollfd& entry) {
    return (entry.revents & POLLNVAL) != 0;
}

}  // namespace

int WaitReadable(int first, int second, const timeval* timeout, ReadableEnds& readable) {
    readable = {};
    // poll silently ignores a negative descriptor.
    if (first < 0 || second < 0) {
        errno = EBADF;
        return -1;
    }
    timespec limit = {0, 0};
    if (timeout != nullptr) {
        if (timeout->tv_sec < 0 || timeout->tv_usec < 0 ||
            __builtin_add_overflow(timeout->tv_sec, timeout->tv_usec / MICROSECONDS_PER_SECOND,
                                   &limit.tv_sec)) {
            errno = EINVAL;
            return -1;
        }
        limit.tv_nsec = timeout->tv_usec % MICROSECONDS_PER_SECOND * NANOSECONDS_PER_MICROSECOND;
    }
    pollfd entries[] = {{first, POLLIN, 0}, {second, POLLIN, 0}};
    const int count = ppoll(entries, 2, timeout != nullptr ? &limit : nullptr, nullptr);
    if (count > 0 && (IsClosed(entries[0]) || IsClosed(entries[1]))) {
        errno = EBADF;
        return -1;
    }
    readable = {IsReadable(entries[0]), IsReadable(entries[1])};
    return count;
}
