#pragma once

#include "verification/campaign/outcome.h"
#include "verification/campaign/scenario.h"

namespace campaign {

/** The outcome that a scenario must have, computed without the tool and the controller. */
RunOutcome Predict(const Scenario& scenario);

}  // namespace campaign
