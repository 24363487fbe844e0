#include "memory/hostlock.h"

#include <fcntl.h>
#include <unistd.h>

#include "link/mailbox.h"

namespace {

/**
 * The first two bytes of the mailbox. Every program that takes a lock or asks for its holder must
 * agree on them.
 */
constexpr off_t HOST_BYTE = MAILBOX_OFFSET;
constexpr off_t CONTROLLER_BYTE = MAILBOX_OFFSET + 1;

struct flock LockOn(off_t byte, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

bool Lock(int fd, off_t byte, short type) {
    const struct flock lock = LockOn(byte, type);
    return fcntl(fd, F_SETLK, &lock) == 0;
}

/** Asks about a write lock, because every other lock conflicts with one. */
std::optional<pid_t> HolderOf(int fd, off_t byte) {
    struct flock lock = LockOn(byte, F_WRLCK);
    if (fcntl(fd, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) {
        return std::nullopt;
    }
    // -1 means that the lock belongs to an open file description, not to a process.
    return lock.l_pid > 0 ? lock.l_pid : 0;
}

}  // namespace

void LockAsHost(int fd) {
    // The host works without the lock too; it only informs other programs.
    (void)Lock(fd, HOST_BYTE, F_RDLCK);
}

bool LockAsController(int fd) {
    return Lock(fd, CONTROLLER_BYTE, F_WRLCK);
}

std::optional<pid_t> HostOf(int fd) {
    return HolderOf(fd, HOST_BYTE);
}

std::optional<pid_t> ControllerOf(int fd) {
    return HolderOf(fd, CONTROLLER_BYTE);
}

std::string ProcessText(pid_t pid) {
    return "pid " + (pid == 0 ? "unknown" : std::to_string(pid));
}
