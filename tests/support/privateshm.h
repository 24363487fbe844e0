#pragma once

namespace testsupport {

/**
 * Gives this process and its children a /dev/shm of their own, empty, so that the fixed names of
 * the shared-memory objects meet nobody else's. Where the machine does not permit that, it takes a
 * lock that all such tests of the machine share, held to the end of the process, and removes the
 * objects that earlier runs left behind.
 *
 * To be called before the first thread is started.
 */
void UsePrivateSharedMemory();

/**
 * While it lives, this process's own /dev/shm has no free page. Without one of its own nothing is
 * filled, since others use it, and `full()` is false.
 */
class FullSharedMemory {
  public:
    FullSharedMemory();
    ~FullSharedMemory();
    FullSharedMemory(const FullSharedMemory&) = delete;
    FullSharedMemory& operator=(const FullSharedMemory&) = delete;

    bool full() const { return i_full; }

  private:
    bool i_full;
};

}  // namespace testsupport
