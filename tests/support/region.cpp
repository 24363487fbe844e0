#include "tests/support/region.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>

#include "link/mailbox.h"

namespace testsupport {

namespace {

void* Map() {
    const int fd = shm_open("/resource0", O_RDWR | O_CREAT, 0666);
    if (fd < 0) {
        throw std::runtime_error("no shared memory /resource0");
    }
    void* base = ftruncate(fd, REGION_SIZE) == 0
                     ? mmap(nullptr, REGION_SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                     : MAP_FAILED;
    close(fd);
    if (base == MAP_FAILED) {
        throw std::runtime_error("cannot map /resource0");
    }
    return base;
}

}  // namespace

Region::Region()
    : i_base(Map()),
      i_words(reinterpret_cast<uint32_t*>(static_cast<char*>(i_base) + MAILBOX_OFFSET)) {}

Region::~Region() {
    munmap(i_base, REGION_SIZE);
}

}  // namespace testsupport
