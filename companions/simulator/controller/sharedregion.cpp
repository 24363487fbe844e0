#include "companions/simulator/controller/sharedregion.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace controller {

SharedRegion::~SharedRegion() {
    if (i_address != nullptr) {
        munmap(i_address, i_size);
    }
}

bool SharedRegion::open(const std::string& name, size_t size) {
    const int fd = shm_open(name.c_str(), O_RDWR | O_CREAT, 0666);
    if (fd < 0) {
        return fail("open");
    }
    bool mapped = false;
    if (grow(fd, size)) {
        void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        mapped = address != MAP_FAILED;
        if (mapped) {
            i_address = address;
            i_size = size;
        } else {
            fail("map");
        }
    }
    close(fd);
    return mapped;
}

bool SharedRegion::grow(int fd, size_t size) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return fail("examine");
    }
    if (static_cast<size_t>(status.st_size) < size &&
        ftruncate(fd, static_cast<off_t>(size)) != 0) {
        return fail("grow");
    }
    return true;
}

bool SharedRegion::fail(const char* step) {
    i_error = std::string("cannot ") + step + " it: " + std::generic_category().message(errno);
    return false;
}

}  // namespace controller
