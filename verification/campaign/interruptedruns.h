#pragma once

#include <cstdint>

#include "verification/campaign/testbench.h"
#include "verification/campaign/workers.h"

namespace campaign {

/**
 * Runs in which the tool is killed in front of one of its accesses to the mailbox, anywhere, and
 * started again with the same controller and the same shared memory: at once, after a rest, or
 * behind a run that finds no image. Prints what comes of it, by the place where the kill hit. True
 * if no run called a controller upgraded that isn't, and every one that failed said so.
 */
[[nodiscard]] bool RunInterrupted(const Programs& programs, uint64_t seed,
                                  const WorkLimits& extent);

}  // namespace campaign
