#include "companions/registers/velnor_regs/liveregion.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "companions/registers/velnor_regs/failure.h"

namespace regs {

namespace {

constexpr char NAME[] = "/resource0";

/** What a too short object counts as. */
constexpr int TOO_SHORT = ENODATA;

std::string WayOut(int error) {
    const std::string why = error == TOO_SHORT ? "shorter than the card's address space"
                                               : std::generic_category().message(error);
    return why + (error == ENOENT ? "; start what drives the card first" : "; check /dev/shm");
}

[[noreturn]] void Fail(int error) {
    throw Failure(EXIT_FINDING, std::string("shared memory ") + NAME + ": " + WayOut(error));
}

void* MapWhole(int fd, bool writable) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return MAP_FAILED;
    }
    // Beyond the object's end an access would end the program.
    if (static_cast<std::size_t>(status.st_size) < LiveRegion::SIZE) {
        errno = TOO_SHORT;
        return MAP_FAILED;
    }
    return mmap(nullptr, LiveRegion::SIZE, writable ? PROT_READ | PROT_WRITE : PROT_READ,
                MAP_SHARED, fd, 0);
}

}  // namespace

LiveRegion::LiveRegion(bool writable) {
    const int fd = shm_open(NAME, writable ? O_RDWR : O_RDONLY, 0);
    if (fd < 0) {
        Fail(errno);
    }
    i_base = MapWhole(fd, writable);
    const int error = errno;
    close(fd);
    if (i_base == MAP_FAILED) {
        Fail(error);
    }
}

LiveRegion::~LiveRegion() {
    munmap(i_base, SIZE);
}

}  // namespace regs
