#pragma once

#include "verification/campaign/outcome.h"
#include "verification/campaign/scenario.h"

namespace campaign {

/** What must come of a scenario, worked out without the tool and without the controller. */
RunOutcome Predict(const Scenario& scenario);

}  // namespace campaign
