#include "companions/registers/velnor_regs/liveregion.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

#include "companions/registers/velnor_regs/failure.h"
#include "link/mailbox.h"
#include "memory/cardview.h"

namespace regs {

namespace {

/** Allocates the word and maps the object; null with errno set on failure. */
void* MapForWriting(int fd, std::size_t offset) {
    errno = posix_fallocate(fd, static_cast<off_t>(offset), sizeof(std::uint32_t));
    if (errno != 0) {
        return nullptr;
    }
    void* base = mmap(nullptr, REGION_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    // cppcheck-suppress memleak  // the caller unmaps it
    return base == MAP_FAILED ? nullptr : base;
}

}  // namespace

LiveRegion::LiveRegion(std::size_t offset) {
    const int fd = shm_open(CardView::NAME, O_RDWR | O_NONBLOCK, 0);
    i_base = fd < 0 ? nullptr : MapForWriting(fd, offset);
    const int error = errno;
    if (fd >= 0) {
        close(fd);
    }
    if (i_base == nullptr) {
        throw Failure(EXIT_FINDING,
                      std::string("shared memory ") + CardView::NAME + " can't be written: " +
                          std::generic_category().message(error) + "; check /dev/shm");
    }
}

LiveRegion::~LiveRegion() {
    munmap(i_base, REGION_SIZE);
}

}  // namespace regs
