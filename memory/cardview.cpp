#include "memory/cardview.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "memory/hostlock.h"

namespace {

/** Why an open object can't be read; empty if it can. */
std::string Unfit(int fd) {
    struct stat status = {};
    if (fstat(fd, &status) != 0) {
        return std::generic_category().message(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "not a regular file";
    }
    return static_cast<std::size_t>(status.st_size) < REGION_SIZE
               ? "shorter than the card's address space"
               : "";
}

}  // namespace

CardView::CardView(const std::string& name) {
    open(name);
}

CardView::~CardView() {
    if (i_fd != -1) {
        close(i_fd);
    }
}

void CardView::open(const std::string& name) {
    i_fd = shm_open(name.c_str(), O_RDONLY | O_NONBLOCK, 0);
    if (i_fd == -1) {
        i_missing = errno == ENOENT;
        fail(name, std::generic_category().message(errno));
        return;
    }
    const std::string why = Unfit(i_fd);
    if (!why.empty()) {
        close(i_fd);
        i_fd = -1;
        fail(name, why);
    }
}

void CardView::fail(const std::string& name, const std::string& why) {
    i_failure = "shared memory " + name + ": " + why +
                (i_missing ? "; start the controller first" : "; check /dev/shm");
}

std::optional<uint32_t> CardView::word(std::size_t offset) const {
    uint32_t value = 0;
    const ssize_t count = pread(i_fd, &value, sizeof value, static_cast<off_t>(offset));
    return count == sizeof value ? std::optional(value) : std::nullopt;
}

std::optional<pid_t> CardView::host() const {
    return HostOf(i_fd);
}

std::optional<pid_t> CardView::controller() const {
    return ControllerOf(i_fd);
}
