#pragma once

#include <cstdint>

#include "verification/campaign/scenario.h"
#include "verification/campaign/testbench.h"
#include "verification/campaign/workers.h"

namespace campaign {

/**
 * Holds runs of the tool against the model, and prints what they come to: for each difference the
 * options that repeat its run and where the two part, and at the end the figures. True if there was
 * no difference.
 */
[[nodiscard]] bool RunSeeds(const Programs& programs, uint64_t seed, const WorkLimits& extent);
[[nodiscard]] bool RunOne(const Programs& programs, const Scenario& scenario);

}  // namespace campaign
