#pragma once

#include <cstdint>

#include "verification/campaign/scenario.h"
#include "verification/campaign/testbench.h"
#include "verification/campaign/workers.h"

namespace campaign {

/**
 * Compares runs of the tool with the model. For each difference, prints its place and the options
 * that repeat the run; at the end, prints totals. True if there was no difference.
 */
[[nodiscard]] bool RunSeeds(const Programs& programs, uint64_t seed, const WorkLimits& extent);
[[nodiscard]] bool RunOne(const Programs& programs, const Scenario& scenario);

}  // namespace campaign
