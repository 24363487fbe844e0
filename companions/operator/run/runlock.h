#pragma once

#include <optional>
#include <string>

namespace run {

/** Contents of the lock file during a run, and after one that did not end cleanly. */
struct Marker {
    /** 0 if the file can't be read as a marker. */
    int pid = 0;
    /** When the run began, in the format of RFC 3339. */
    std::string start;
    /** Path of its report; empty without one. */
    std::string report;
};

/**
 * Prevents a second run on the same mailbox. The lock is a file in the same directory as the
 * shared-memory object, so processes share the lock exactly if they share the object.
 *
 * The kernel keeps the lock until each process that shares the descriptor has closed it. The tool
 * inherits it, so the lock outlasts a killed tolmira_run as long as the tool runs. The file is
 * never removed. It is empty, or has the marker of a run that is under way or did not end cleanly.
 */
class RunLock {
  public:
    enum e_Result {
        e_Result_Taken,
        /** Another run holds it. */
        e_Result_Busy,
        /** `error()` has the reason. */
        e_Result_Failed,
    };

    RunLock() = default;
    ~RunLock() { release(); }
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

    /** Never waits. */
    [[nodiscard]] e_Result take();
    /** The descriptor that holds the lock; children that keep it hold the lock too. */
    int descriptor() const { return i_fd; }
    void release();

    // The next three require the lock.

    /** The last run's marker; no value if that run ended cleanly. */
    std::optional<Marker> marker() const;
    /** Writes the marker. False with the reason in `error()` if the file can't be written. */
    [[nodiscard]] bool mark(const Marker& marker);
    /** Empties the file; to be called once the mailbox is in order. */
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
