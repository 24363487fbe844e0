#include "tests/support/systemcalls.h"

#include <poll.h>

#include <utility>

namespace {

testsupport::WriteHook writeHook;
std::function<void()> pollHook;

}  // namespace

// The names are the linker's; see threadstarts.cpp.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" ssize_t __real_write(int fd, const void* bytes, size_t count);
extern "C" int __real_ppoll(pollfd* entries, nfds_t count, const timespec* timeout,
                            const sigset_t* mask);

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

namespace testsupport {

void HookWrites(WriteHook hook) {
    writeHook = std::move(hook);
}

ssize_t CallWrite(int fd, const void* bytes, size_t count) {
    return __real_write(fd, bytes, count);
}

void HookPolls(std::function<void()> before) {
    pollHook = std::move(before);
}

}  // namespace testsupport
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
