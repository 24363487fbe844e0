#pragma once

#include <cstddef>
#include <string>

/**
 * A POSIX shared-memory object by name, for the moment of its opening. It owns nothing: the
 * descriptor passes to the caller, and the object outlives the process.
 */
class SharedMemory {
  public:
    /** `name` with its leading slash; `size` in bytes. Touches nothing. */
    SharedMemory(const std::string& name, size_t size);
    virtual ~SharedMemory() = default;

    /**
     * An open descriptor of the object, which is made if it isn't there and gets the stored size. A
     * new object reads as zeroes, an old one keeps its contents. -1 on failure, which is logged;
     * errno tells why.
     */
    [[nodiscard]] int createFd();

  private:
    const std::string i_name;
    const size_t i_size;
};
