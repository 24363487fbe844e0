#pragma once

#include "src/card/velnor/hwmap/generator/tables.h"

namespace hwmaptables {

/** Adds the rows of one placement to the tables. */
void ParsePlacement(const TableFile& file, Tables& tables, Findings& findings);

/** Adds the rows of one catalogue to the tables. */
void ParseCatalogue(const TableFile& file, Tables& tables, Findings& findings);

}  // namespace hwmaptables
