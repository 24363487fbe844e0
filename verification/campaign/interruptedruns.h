#pragma once

#include <cstdint>

#include "verification/campaign/testbench.h"
#include "verification/campaign/workers.h"

namespace campaign {

/**
 * Kills the tool before a random access to the mailbox, and starts it again with the same
 * controller and the same shared memory: at once, after a pause, after a run with a missing image,
 * or through tolmira_run. Prints the results by the place of the kill. True if no run falsely
 * reported success and each failure was reported.
 */
[[nodiscard]] bool RunInterrupted(const Programs& programs, uint64_t seed,
                                  const WorkLimits& extent);

}  // namespace campaign
