#pragma once

#include <cstdint>
#include <functional>

namespace campaign {

/** Zeroed memory that later forked processes share. It is never freed. */
void* SharedMemory(size_t size);

/** The amount of work, and the number of processes. */
struct WorkLimits {
    uint64_t count = 0;
    /** No work starts after these seconds of real time; 0: no limit. */
    unsigned seconds = 0;
    unsigned jobs = 1;
};

/** Does one item of work. */
using Work = std::function<void(uint64_t number)>;

/**
 * Forks processes, each with a private /dev/shm, and distributes the numbers from 0 to the count
 * among them. Each process calls `makeWork` once and destroys the result when it ends. Returns when
 * all are done; false if a process failed.
 */
[[nodiscard]] bool DistributeWork(const WorkLimits& extent, const std::function<Work()>& makeWork);

}  // namespace campaign
