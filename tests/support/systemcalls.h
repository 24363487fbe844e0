#pragma once

#include <sys/types.h>

#include <functional>

namespace testsupport {

// These act on calls in the program's own code. Shared libraries keep the C library's functions.

/** Called in place of write. CallWrite calls the C library's. */
using WriteHook = std::function<ssize_t(int fd, const void* bytes, size_t count)>;

/** Null removes the hook. No other thread may write while the hook changes. */
void HookWrites(WriteHook hook);
ssize_t CallWrite(int fd, const void* bytes, size_t count);
/** A hook: every write fails with EIO. */
ssize_t FailingWrite(int fd, const void* bytes, size_t count);

/** Called before each ppoll; null removes the hook, under the same condition. */
void HookPolls(std::function<void()> before);

/** Lets `count` more threads start. Further starts fail with EAGAIN, as on an exhausted system. */
void LimitThreadStarts(int count);
void AllowThreadStarts();

}  // namespace testsupport
