#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace controller {

/** The closing report: names and numbers, in the order of printing. */
using Report = std::vector<std::pair<std::string, unsigned long>>;

/** One line "name: number" for each entry. */
void PrintReport(std::ostream& out, const Report& report);

/** One JSON object on one line; blanks in the names become underscores. */
void PrintReportAsJson(std::ostream& out, const Report& report);

}  // namespace controller
