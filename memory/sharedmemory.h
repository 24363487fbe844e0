#pragma once

#include <cstddef>
#include <string>

/**
 * Opens a POSIX shared-memory object by name. It owns nothing: the descriptor passes to the caller,
 * and the object outlives the process.
 */
class SharedMemory {
  public:
    /** `name` with its leading slash; `size` in bytes. Touches nothing. */
    SharedMemory(const std::string& name, size_t size);
    virtual ~SharedMemory() = default;

    /**
     * Opens the object, creates it if it doesn't exist, and sets its size. A new object reads as
     * zeroes; an existing one keeps its contents. Returns the descriptor, or -1 with errno set and
     * the failure logged.
     */
    [[nodiscard]] int createFd();

  private:
    const std::string i_name;
    const size_t i_size;
};
