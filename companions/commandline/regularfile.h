#pragma once

#include <string>
#include <utility>

namespace commandline {

/** Owns an open descriptor; -1 for none. */
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
    /** A path that opens the same file again, for streams; valid while the descriptor is open. */
    std::string path() const { return "/proc/self/fd/" + std::to_string(i_fd); }
    explicit operator bool() const { return i_fd >= 0; }

  private:
    int i_fd;
};

/**
 * Opens an untrusted file for reading. It never waits, as opening a FIFO would, and accepts only
 * regular files; links are followed. Without a descriptor `why` has the reason.
 */
[[nodiscard]] Descriptor OpenRegularFile(const std::string& path, std::string& why);

/** The same for writing: the file is created if it is missing, and truncated. */
Descriptor CreateRegularFile(const std::string& path, std::string& why);

/** Writes all bytes. False with errno set on failure. */
[[nodiscard]] bool WriteAll(int fd, const std::string& bytes);

}  // namespace commandline
