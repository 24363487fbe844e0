#pragma once

#include <optional>
#include <string>

namespace run {

/** What a run leaves in the lock file until it has ended in order. */
struct Marker {
    /** 0 if the file can't be read as a marker. */
    int pid = 0;
    /** When the run began, as RFC 3339 has it. */
    std::string start;
    /** Where its report was to be; empty for none. */
    std::string report;
};

/**
 * The lock that keeps a second run away from the mailbox: a file beside the shared-memory object,
 * so that it is the same file for those, and only those, who see the same object.
 *
 * The kernel holds the lock for as long as anybody has the file open. The tool inherits it, so a
 * run whose starter was killed still keeps the others away. The file stays. It is empty unless a
 * run is under way or has not ended in order: then it has that run's marker.
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
    ~RunLock() { release(); }
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    /** Doesn't wait. */
    [[nodiscard]] e_Result take();
    /** The descriptor that holds the lock; children that keep it hold the lock too. */
    int descriptor() const { return i_fd; }
    void release();

    /** What the last run left; none if it ended in order. With the lock taken, like what follows.
     */
    std::optional<Marker> marker() const;
    /** False if the file can't be written; `error()` tells why. */
    [[nodiscard]] bool mark(const Marker& marker);
    /** The mailbox is in order. */
    void clearMark();

    const std::string& error() const { return i_error; }

    static constexpr char FILE_NAME[] = "/dev/shm/resource0.lock";

  private:
    e_Result fail(int error);

    int i_fd = -1;
    bool i_writable = false;
    std::string i_error;
};

}  // namespace run
