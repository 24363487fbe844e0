#pragma once

namespace testsupport {

/**
 * Gives this process and its children an empty private /dev/shm, since the shared-memory objects
 * have fixed names. If the machine doesn't permit that, takes a lock that all such tests of the
 * machine share, keeps it until the process ends, and removes the objects of earlier runs.
 *
 * Call it before the first thread starts.
 */
void UsePrivateSharedMemory();

/**
 * While it lives, the private /dev/shm has no free page. If /dev/shm isn't private, nothing is
 * filled and `full()` is false.
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
