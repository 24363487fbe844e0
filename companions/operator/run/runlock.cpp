#include "companions/operator/run/runlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace run {

namespace {

/** To lock a file it need only be read, so one that another user has made will do. */
constexpr mode_t READABLE_FOR_ALL = 0644;

/**
 * Opens the file, and makes it where it is missing. It is never opened for making once it is there:
 * the kernel may refuse that for the file of another user in a directory that all can write.
 */
int OpenOrCreate(const char* name) {
    // Without O_CLOEXEC: the tool is to hold the lock too.
    constexpr int flags = O_RDONLY | O_NOFOLLOW;
    const int fd = open(name, flags);
    if (fd >= 0 || errno != ENOENT) {
        return fd;
    }
    const int created = open(name, flags | O_CREAT | O_EXCL, READABLE_FOR_ALL);
    if (created >= 0) {
        fchmod(created, READABLE_FOR_ALL);  // whatever the umask
        return created;
    }
    return errno == EEXIST ? open(name, flags) : -1;
}

}  // namespace

RunLock::~RunLock() {
    if (i_fd >= 0) {
        close(i_fd);
    }
}

RunLock::e_Result RunLock::take() {
    i_fd = OpenOrCreate(FILE_NAME);
    if (i_fd >= 0 && flock(i_fd, LOCK_EX | LOCK_NB) == 0) {
        return e_Result_Taken;
    }
    if (i_fd >= 0 && errno == EWOULDBLOCK) {
        return e_Result_Busy;
    }
    i_error = std::generic_category().message(errno);
    return e_Result_Failed;
}

}  // namespace run
