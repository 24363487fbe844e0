#include "tests/support/faketime.h"

#include <ctime>

namespace {

thread_local testsupport::FakeTime* current = nullptr;

}  // namespace

namespace testsupport {

FakeTime::FakeTime(timeval start) : now(start) {
    current = this;
}

FakeTime::~FakeTime() {
    current = nullptr;
}

void FakeTime::advance(timeval by) {
    timeradd(&now, &by, &now);
}

}  // namespace testsupport

// These take precedence over the C library's functions in the whole program.
extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept {
    if (current == nullptr) {
        timespec real = {};
        clock_gettime(CLOCK_REALTIME, &real);
        *time = {real.tv_sec, real.tv_nsec / 1000};
        return 0;
    }
    if (current->beforeReading) {
        current->beforeReading();
    }
    ++current->readings;
    *time = current->now;
    return 0;
}

extern "C" unsigned int sleep(unsigned int seconds) {
    if (current == nullptr) {
        timespec rest = {seconds, 0};
        nanosleep(&rest, nullptr);
        return 0;
    }
    current->slept += seconds;
    current->advance({seconds, 0});
    return 0;
}
