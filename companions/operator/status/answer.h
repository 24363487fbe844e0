#pragma once

#include <string>

#include "companions/operator/status/snapshot.h"

namespace status {

/** 2 is wrong usage. */
enum e_Exit {
    e_Exit_Current = 0,
    e_Exit_OtherRevision = 1,
    e_Exit_Absent = 3,
    e_Exit_NoObject = 4,
};

e_Exit ExitValue(const Snapshot& snapshot);

/** What was read, of a snapshot without a failure: a line for each thing, or one JSON object. */
std::string Text(const Snapshot& snapshot);
std::string Json(const Snapshot& snapshot);

/**
 * One line with what changes slowly: presence, revision, host, the two states and the upper bits.
 * Two snapshots with the same line show no change; a transfer changes flags and data all the time.
 */
std::string ShortText(const Snapshot& snapshot);
std::string ShortJson(const Snapshot& snapshot);

}  // namespace status
