#pragma once

#include <chrono>
#include <string>

#include "companions/operator/run/outcome.h"
#include "companions/operator/run/settings.h"

namespace run {

/** When a run began and how long it took; the duration is of a clock that nobody sets. */
struct Times {
    std::string start;
    std::string end;
    double seconds = 0;
};

/** The time now, as RFC 3339 has it, in UTC. */
std::string TimeText();

/**
 * The record of a run as one JSON object, with a newline at its end. Its form is a contract: the
 * schema is companions/schemas/tolmira_run.schema.json.
 */
std::string ReportOf(const RunSettings& settings, const Outcome& outcome, int exitValue,
                     const Times& times);

}  // namespace run
