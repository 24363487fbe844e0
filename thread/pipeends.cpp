#include "thread/pipeends.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace {

void CloseEnd(int& fd) {
    if (fd != -1) {
        const int savedErrno = errno;
        ::close(fd);
        errno = savedErrno;
        fd = -1;
    }
}

/**
 * Moves the descriptor above the standard ones. On failure returns -1 with errno set, and leaves
 * the descriptor open.
 */
int Raise(int& fd) {
    if (fd > STDERR_FILENO) {
        return 0;
    }
    const int raised = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (raised == -1) {
        return -1;
    }
    CloseEnd(fd);
    fd = raised;
    return 0;
}

}  // namespace

int PipeEnds::create() {
    close();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == -1) {
        return -1;
    }
    i_read = ends[0];
    i_write = ends[1];
    if (Raise(i_read) == -1 || Raise(i_write) == -1) {
        close();
        return -1;
    }
    return 0;
}

void PipeEnds::closeRead() {
    CloseEnd(i_read);
}

void PipeEnds::closeWrite() {
    CloseEnd(i_write);
}

void PipeEnds::close() {
    closeRead();
    closeWrite();
}
