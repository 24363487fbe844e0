#pragma once

#include <cstdint>
#include <functional>

namespace campaign {

/** Memory, all zero, that processes forked later share; it lives to the end. */
void* SharedMemory(size_t size);

/** How much is to be done, and by how many processes. */
struct WorkLimits {
    uint64_t count = 0;
    /** Nothing more is begun after so many seconds of real time; 0: all is done. */
    unsigned seconds = 0;
    unsigned jobs = 1;
};

/** Does the work with this number. */
using Work = std::function<void(uint64_t number)>;

/**
 * Forks processes, each with a /dev/shm of its own, and gives them the numbers from 0 to the count
 * to work on, whoever is free. `makeWork` is called once in each process; what it returns is
 * destroyed at its end. Returns when all are done; false if a process failed.
 */
[[nodiscard]] bool DistributeWork(const WorkLimits& extent, const std::function<Work()>& makeWork);

}  // namespace campaign
