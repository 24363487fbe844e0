#pragma once

#include <chrono>
#include <string>

#include "companions/operator/run/outcome.h"
#include "companions/operator/run/settings.h"

namespace run {

/** Start and end of a run in wall-clock time, and its duration by the steady clock. */
struct Times {
    std::string start;
    std::string end;
    double seconds = 0;
};

/** The current time in UTC, in the format of RFC 3339. */
std::string TimeText();

/**
 * The report of a run: one JSON object and a newline. Its schema,
 * companions/schemas/tolmira_run.schema.json, is a contract.
 */
std::string ReportOf(const RunSettings& settings, const Outcome& outcome, int exitValue,
                     const Times& times);

}  // namespace run
