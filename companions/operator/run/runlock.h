#pragma once

#include <string>

namespace run {

/**
 * The lock that keeps a second run away from the mailbox: a file beside the shared-memory object,
 * so that it is the same file for those, and only those, who see the same object.
 *
 * The kernel holds the lock for as long as anybody has the file open. The tool inherits it, so a
 * run whose starter was killed still keeps the others away, and nothing that a crash leaves behind
 * has to be cleared. The file itself stays.
 */
class RunLock {
  public:
    enum e_Result {
        e_Result_Taken,
        /** Another run holds it. */
        e_Result_Busy,
        /** `error()` tells why. */
        e_Result_Failed,
    };

    RunLock() = default;
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    /** Doesn't wait. */
    e_Result take();
    const std::string& error() const { return i_error; }

    static constexpr char FILE_NAME[] = "/dev/shm/resource0.lock";

  private:
    int i_fd = -1;
    std::string i_error;
};

}  // namespace run
