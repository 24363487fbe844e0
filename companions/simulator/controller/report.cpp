#include "companions/simulator/controller/report.h"

#include <algorithm>

namespace controller {

void PrintReport(std::ostream& out, const Report& report) {
    for (const auto& [name, value] : report) {
        out << name << ": ";
        std::visit([&](const auto& shown) { out << shown; }, value);
        out << '\n';
    }
}

void PrintReportAsJson(std::ostream& out, const Report& report) {
    out << "{\"format\": 1";
    for (const auto& [name, value] : report) {
        std::string key = name;
        std::replace(key.begin(), key.end(), ' ', '_');
        const char* quote = std::holds_alternative<std::string>(value) ? "\"" : "";
        out << ", \"" << key << "\": " << quote;
        std::visit([&](const auto& shown) { out << shown; }, value);
        out << quote;
    }
    out << "}\n";
}

}  // namespace controller
