#include "companions/simulator/controller/report.h"

#include <algorithm>

namespace controller {

void PrintReport(std::ostream& out, const Report& report) {
    for (const auto& [name, number] : report) {
        out << name << ": " << number << '\n';
    }
}

void PrintReportAsJson(std::ostream& out, const Report& report) {
    const char* separator = "{";
    for (const auto& [name, number] : report) {
        std::string key = name;
        std::replace(key.begin(), key.end(), ' ', '_');
        out << separator << '"' << key << "\": " << number;
        separator = ", ";
    }
    out << "}\n";
}

}  // namespace controller
