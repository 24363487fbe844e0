#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

/**
 * Which processes use a shared-memory object, shown by record locks (fcntl) on one agreed byte for
 * each side. The contents of the bytes have no meaning. The kernel drops a lock when its process
 * ends, however it ends.
 *
 * The kernel also drops a process's locks on an object as soon as the process closes any of its
 * descriptors of that object. Holders must keep their one descriptor open; only processes without a
 * lock may open and close another.
 */

/** Marks the calling process as a host. Several hosts can hold the lock; it excludes nobody. */
void LockAsHost(int fd);

/**
 * Marks the calling process as the controller; `fd` must be open for writing. False if another
 * controller holds the lock, or the object can't be locked. Doesn't wait.
 */
[[nodiscard]] bool LockAsController(int fd);

/**
 * The id of a process that holds the host's or the controller's lock, or 0 if the kernel can't name
 * it, as for a process in another pid namespace. No value if no other process holds it: a process
 * doesn't see its own lock. `fd` need only be open for reading.
 */
std::optional<pid_t> HostOf(int fd);
std::optional<pid_t> ControllerOf(int fd);

/** "pid 4711", or "pid unknown" for 0. */
std::string ProcessText(pid_t pid);
