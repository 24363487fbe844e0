#include "companions/simulator/controller/report.h"

#include <algorithm>

#include "companions/jsonvalue/jsonvalue.h"

namespace controller {

void PrintReport(std::ostream& out, const Report& report) {
    for (const auto& [name, value] : report) {
        out << name << ": ";
        std::visit([&](const auto& shown) { out << shown; }, value);
        out << '\n';
    }
}

void PrintReportAsJson(std::ostream& out, const Report& report) {
    JsonValue object = {{"format", 1}};
    for (const auto& [name, value] : report) {
        std::string key = name;
        std::replace(key.begin(), key.end(), ' ', '_');
        object[key] = std::visit([](const auto& shown) { return JsonValue(shown); }, value);
    }
    out << object.dump() << '\n';
}

}  // namespace controller
