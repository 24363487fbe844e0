#include "memory/mailboxpage.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "memory/cardview.h"

namespace {

/** 0, or an errno. */
int Allocate(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return errno;
    }
    const bool hasMailbox = status.st_size >= static_cast<off_t>(MAILBOX_OFFSET + MAILBOX_SIZE);
    return hasMailbox ? posix_fallocate(fd, MAILBOX_OFFSET, MAILBOX_SIZE) : 0;
}

}  // namespace

std::string AllocateMailboxPage() {
    const int fd = shm_open(CardView::NAME, O_RDWR | O_NONBLOCK, 0);
    if (fd == -1 && errno == ENOENT) {
        return "";
    }
    const int error = fd == -1 ? errno : Allocate(fd);
    if (fd != -1) {
        close(fd);
    }
    return error == 0 ? ""
                      : std::string("cannot allocate the mailbox in ") + CardView::NAME + ": " +
                            std::generic_category().message(error);
}
