#include "tests/support/systemcalls.h"

#include <poll.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <utility>

namespace {

testsupport::WriteHook writeHook;
std::function<void()> pollHook;
std::atomic<int> startsLeft{INT_MAX};

}  // namespace

// The linker's option --wrap turns each call of NAME into __wrap_NAME, and __real_NAME into NAME,
// even if a sanitizer replaces the C library's function.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" ssize_t __real_write(int fd, const void* bytes, size_t count);
extern "C" int __real_ppoll(pollfd* entries, nfds_t count, const timespec* timeout,
                            const sigset_t* mask);
extern "C" int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument);

extern "C" ssize_t __wrap_write(int fd, const void* bytes, size_t count) {
    return writeHook ? writeHook(fd, bytes, count) : __real_write(fd, bytes, count);
}

extern "C" int __wrap_ppoll(pollfd* entries, nfds_t count, const timespec* timeout,
                            const sigset_t* mask) {
    if (pollHook) {
        pollHook();
    }
    return __real_ppoll(entries, count, timeout, mask);
}

extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument) {
    if (startsLeft == 0) {
        return EAGAIN;
    }
    --startsLeft;
    return __real_pthread_create(thread, attributes, start, argument);
}

namespace testsupport {

void HookWrites(WriteHook hook) {
    writeHook = std::move(hook);
}

ssize_t CallWrite(int fd, const void* bytes, size_t count) {
    return __real_write(fd, bytes, count);
}

ssize_t FailingWrite(int /*fd*/, const void* /*bytes*/, size_t /*count*/) {
    errno = EIO;
    return -1;
}

void HookPolls(std::function<void()> before) {
    pollHook = std::move(before);
}

void LimitThreadStarts(int count) {
    startsLeft = count;
}

void AllowThreadStarts() {
    startsLeft = INT_MAX;
}

}  // namespace testsupport
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
