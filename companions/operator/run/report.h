#pragma once

#include <string>

#include "companions/operator/run/settings.h"
#include "companions/operator/run/toolprocess.h"
#include "companions/operator/toollog/runrecord.h"

namespace run {

/** The record of a run as one JSON object, with a newline at its end. */
std::string ReportOf(const Settings& settings, const toollog::RunRecord& record,
                     const Ending& ending, double seconds);

}  // namespace run
