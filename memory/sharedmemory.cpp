#include "memory/sharedmemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "logger/logger.h"

SharedMemory::SharedMemory(const std::string& name, size_t size) : i_name(name), i_size(size) {}

int SharedMemory::createFd() {
    constexpr mode_t everyoneMayUse = 0777;
    const int fd = shm_open(i_name.c_str(), O_RDWR | O_CREAT, everyoneMayUse);
    if (fd == -1) {
        LOG_MESSAGE(CRITICAL, "open failed %s (%s)", i_name.c_str(), strerror(errno));
        return -1;
    }
    if (ftruncate(fd, static_cast<off_t>(i_size)) != 0) {
        const int error = errno;
        LOG_MESSAGE(CRITICAL, "ftruncate failed %s (%s)", i_name.c_str(), strerror(error));
        close(fd);
        errno = error;
        return -1;
    }
    return fd;
}
