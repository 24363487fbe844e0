/**
 * libpreloaded.so: preloaded into programs, so that a test can change their surroundings while they
 * run. These environment variables control it:
 *
 *     SET_CLOCK=FILE             the wall clock is off by the seconds in this file
 *     REMOVED_BEFORE_LOCK=FILE   this file is removed before the first lock is taken
 */
#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace {

/** Reads the file at each call, since the test replaces it. Allocates nothing. */
long OffBy() {
    const char* file = getenv("SET_CLOCK");
    const int fd = file == nullptr ? -1 : open(file, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return 0;
    }
    char text[32] = {};
    const bool isRead = read(fd, text, sizeof text - 1) > 0;
    close(fd);
    return isRead ? strtol(text, nullptr, 10) : 0;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const auto rc = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    time->tv_sec += rc == 0 && clock == CLOCK_REALTIME ? OffBy() : 0;
    return rc;
}

extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

extern "C" time_t time(time_t* time) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (time != nullptr) {
        *time = now.tv_sec;
    }
    return now.tv_sec;
}

extern "C" int flock(int fd, int operation) noexcept {
    if (const char* file = getenv("REMOVED_BEFORE_LOCK")) {
        unlink(file);
        unsetenv("REMOVED_BEFORE_LOCK");
    }
    return static_cast<int>(syscall(SYS_flock, fd, operation));
}
