#pragma once

#include "src/card/velnor/hwmap/generator/tables.h"

namespace hwmaptables {

/** Finds what the parser, which sees one row at a time, can't: overlaps, clashes and strays. */
void CheckTables(const Tables& tables, Findings& findings);

}  // namespace hwmaptables
