#pragma once

#include <string>
#include <utility>

namespace commandline {

/** An open descriptor that closes itself; -1 for none. */
class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : i_fd(fd) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : i_fd(std::exchange(other.i_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(i_fd, other.i_fd);
        return *this;
    }

    int get() const { return i_fd; }
    /** A name that opens the same file again, for streams; while the descriptor is open. */
    std::string path() const { return "/proc/self/fd/" + std::to_string(i_fd); }
    explicit operator bool() const { return i_fd >= 0; }

  private:
    int i_fd;
};

/**
 * Opens a file of somebody else's for reading. It never waits, as opening a FIFO does, and takes
 * regular files alone, links followed. Without a descriptor `why` tells the reason.
 */
[[nodiscard]] Descriptor OpenRegularFile(const std::string& path, std::string& why);

/** The same for writing: the file is created if it is missing, and emptied. */
Descriptor CreateRegularFile(const std::string& path, std::string& why);

}  // namespace commandline
