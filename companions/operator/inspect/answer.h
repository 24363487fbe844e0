#pragma once

#include <iosfwd>
#include <vector>

#include "companions/operator/inspect/inspection.h"

namespace inspect {

/** A block of lines for each file, unprintable bytes as \xNN. */
void PrintAsText(std::ostream& out, const std::vector<Inspection>& inspections);

/** One object with an array `images`; invalid UTF-8 is replaced. */
void PrintAsJson(std::ostream& out, const std::vector<Inspection>& inspections);

}  // namespace inspect
