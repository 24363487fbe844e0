#include "tests/support/threadstarts.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <climits>

namespace {

std::atomic<int> startsLeft{INT_MAX};

}  // namespace

// The two names are the linker's: it puts the first in the place of each call of pthread_create,
// whatever stands in front of the C library's, and the second for the one that was meant.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument);

extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*start)(void*), void* argument) {
    if (startsLeft == 0) {
        return EAGAIN;
    }
    --startsLeft;
    return __real_pthread_create(thread, attributes, start, argument);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace testsupport {

void LimitThreadStarts(int count) {
    startsLeft = count;
}

void AllowThreadStarts() {
    startsLeft = INT_MAX;
}

}  // namespace testsupport
