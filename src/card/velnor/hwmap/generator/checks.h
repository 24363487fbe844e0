#pragma once

#include "src/card/velnor/hwmap/generator/tables.h"

namespace hwmaptables {

/**
 * Finds the errors that the parser can't see, because it reads one row at a time: overlaps, clashes
 * and unused groups.
 */
void CheckTables(const Tables& tables, Findings& findings);

}  // namespace hwmaptables
