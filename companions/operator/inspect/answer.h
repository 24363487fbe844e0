#pragma once

#include <iosfwd>
#include <vector>

#include "companions/operator/inspect/inspection.h"

namespace inspect {

/** For people: a block of lines for each file, unprintable bytes as \xNN. */
void PrintAsText(std::ostream& out, const std::vector<Inspection>& inspections);

/** One object with one for each file in `images`; bytes that are no UTF-8 are replaced. */
void PrintAsJson(std::ostream& out, const std::vector<Inspection>& inspections);

}  // namespace inspect
