#include "companions/simulator/controller/sharedregion.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "link/mailbox.h"

namespace controller {

SharedRegion::~SharedRegion() {
    if (i_address != nullptr) {
        munmap(i_address, i_size);
    }
    if (i_fd >= 0) {
        close(i_fd);
    }
}

bool SharedRegion::open(const std::string& name, size_t size) {
    i_fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_NONBLOCK, 0666);
    if (i_fd < 0) {
        return fail("open", errno);
    }
    if (!prepare(size)) {
        return false;
    }
    void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, i_fd, 0);
    if (address == MAP_FAILED) {
        return fail("map", errno);
    }
    i_address = address;
    i_size = size;
    return true;
}

/** Gives it its size, and the mailbox its memory. */
bool SharedRegion::prepare(size_t size) {
    struct stat status = {};
    if (fstat(i_fd, &status) != 0) {
        return fail("examine", errno);
    }
    if (static_cast<size_t>(status.st_size) < size &&
        ftruncate(i_fd, static_cast<off_t>(size)) != 0) {
        return fail("grow", errno);
    }
    const int error = posix_fallocate(i_fd, MAILBOX_OFFSET, MAILBOX_SIZE);
    return error == 0 || fail("allocate the mailbox in", error);
}

bool SharedRegion::fail(const char* step, int error) {
    i_error = std::string("cannot ") + step + " it: " + std::generic_category().message(error);
    return false;
}

}  // namespace controller
