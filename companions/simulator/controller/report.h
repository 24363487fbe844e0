#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace controller {

/** The closing report: names, and numbers or texts, in the order of printing. */
using Report = std::vector<std::pair<std::string, std::variant<unsigned long, std::string>>>;

/** One line "name: value" for each entry. */
void PrintReport(std::ostream& out, const Report& report);

/** One JSON object on one line; blanks in the names become underscores. */
void PrintReportAsJson(std::ostream& out, const Report& report);

}  // namespace controller
