#include "companions/commandline/regularfile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace commandline {

Descriptor::~Descriptor() {
    if (i_fd >= 0) {
        close(i_fd);
    }
}

namespace {

Descriptor OpenRegular(const std::string& path, int flags, std::string& why) {
    constexpr mode_t readableForAll = 0666;
    Descriptor file(open(path.c_str(), flags | O_NONBLOCK | O_CLOEXEC | O_NOCTTY, readableForAll));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) {
        // ENXIO comes from opening a FIFO without a reader for writing.
        why = errno == ENXIO ? "not a regular file" : std::generic_category().message(errno);
        return Descriptor();
    }
    if (!S_ISREG(status.st_mode)) {
        why = "not a regular file";
        return Descriptor();
    }
    return file;
}

}  // namespace

Descriptor OpenRegularFile(const std::string& path, std::string& why) {
    return OpenRegular(path, O_RDONLY, why);
}

Descriptor CreateRegularFile(const std::string& path, std::string& why) {
    return OpenRegular(path, O_WRONLY | O_CREAT | O_TRUNC, why);
}

bool WriteAll(int fd, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(fd, bytes.data() + written, bytes.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {  // another process made it non-blocking
            pollfd ready = {fd, POLLOUT, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace commandline
