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
        munmap(i_address, REGION_SIZE);
    }
    if (i_fd >= 0) {
        close(i_fd);
    }
}

bool SharedRegion::open(const std::string& name) {
    i_fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_NONBLOCK, 0666);
    if (i_fd < 0) {
        return fail("open", errno);
    }
    if (!prepare()) {
        return false;
    }
    void* address = mmap(nullptr, REGION_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, i_fd, 0);
    if (address == MAP_FAILED) {
        return fail("map", errno);
    }
    i_address = address;
    return true;
}

std::uint32_t* SharedRegion::mailbox() const {
    return reinterpret_cast<std::uint32_t*>(static_cast<char*>(i_address) + MAILBOX_OFFSET);
}

/** Sets the object's size, and allocates the mailbox. */
bool SharedRegion::prepare() {
    struct stat status = {};
    if (fstat(i_fd, &status) != 0) {
        return fail("examine", errno);
    }
    if (static_cast<size_t>(status.st_size) < REGION_SIZE && ftruncate(i_fd, REGION_SIZE) != 0) {
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
