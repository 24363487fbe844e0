#pragma once

#include "campaign/outcome.h"
#include "campaign/scenario.h"

namespace campaign {

/** What must come of a scenario, worked out without the tool and without the controller. */
Outcome Predict(const Scenario& scenario);

}  // namespace campaign
