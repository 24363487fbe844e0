#pragma once

#include <string>

#include "companions/operator/status/snapshot.h"

namespace status {

/** The exit values; 2 is wrong usage. */
enum e_Exit {
    e_Exit_Current = 0,
    e_Exit_OtherRevision = 1,
    e_Exit_Absent = 3,
    e_Exit_NoObject = 4,
};

e_Exit ExitValue(const Snapshot& snapshot);

/** A snapshot without a failure: a line for each property, or one JSON object. */
std::string Text(const Snapshot& snapshot);
std::string Json(const Snapshot& snapshot);

/**
 * A snapshot as one line: presence, revision, host, the two states and the upper bits. Flags and
 * data are left out, since a transfer changes them all the time.
 */
std::string ShortText(const Snapshot& snapshot);
std::string ShortJson(const Snapshot& snapshot);

}  // namespace status
