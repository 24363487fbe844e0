#include "companions/registers/velnor_regs/answer.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "companions/jsonvalue/jsonvalue.h"
#include "companions/registers/velnor_regs/number.h"

namespace regs {

namespace {

struct TextOfCell {
    std::string operator()(std::monostate /*nothing*/) const { return ""; }
    std::string operator()(std::uint64_t number) const { return std::to_string(number); }
    std::string operator()(Hex hex) const { return HexText(hex.number); }
    std::string operator()(const std::string& text) const { return text; }
};

struct JsonOfCell {
    JsonValue operator()(std::monostate /*nothing*/) const { return nullptr; }
    JsonValue operator()(std::uint64_t number) const { return number; }
    JsonValue operator()(Hex hex) const { return hex.number; }
    JsonValue operator()(const std::string& text) const { return text; }
};

std::string TextOf(const Cell& cell) {
    return std::visit(TextOfCell(), cell);
}

void Add(JsonValue& object, const std::string& key, const Cell& cell) {
    if (!std::holds_alternative<std::monostate>(cell)) {
        object[key] = std::visit(JsonOfCell(), cell);
    }
}

void PrintLines(std::ostream& out, const Answer& answer) {
    for (const Row& row : answer.rows) {
        const char* separator = "";
        for (const Cell& cell : row) {
            if (!std::holds_alternative<std::monostate>(cell)) {
                out << separator << TextOf(cell);
                separator = " ";
            }
        }
        out << '\n';
    }
}

void PrintColumns(std::ostream& out, const Answer& answer) {
    std::vector<std::vector<std::string>> lines{answer.columns};
    for (const Row& row : answer.rows) {
        lines.emplace_back();
        std::transform(row.begin(), row.end(), std::back_inserter(lines.back()), TextOf);
    }
    std::vector<std::size_t> widths(answer.columns.size());
    for (const auto& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size() + 2);
        }
    }
    for (const auto& line : lines) {
        std::ostringstream text;
        for (std::size_t i = 0; i < line.size(); ++i) {
            text << std::left << std::setw(static_cast<int>(widths[i])) << line[i];
        }
        out << text.str().substr(0, text.str().find_last_not_of(' ') + 1) << '\n';
    }
}

}  // namespace

void PrintChange(std::ostream& out, const Change& change) {
    out << std::fixed << std::setprecision(3) << change.seconds << "  " << change.path << "  "
        << (change.before ? HexText(*change.before) + " -> " : "") << HexText(change.value) << '\n';
}

void PrintChangeAsJson(std::ostream& out, const Change& change) {
    JsonValue line = {{"format", 1},
                      {"seconds", std::round(change.seconds * 1000) / 1000},
                      {"path", change.path},
                      {"value", change.value}};
    if (change.before) {
        line["before"] = *change.before;
    }
    out << line.dump() << '\n';
}

void PrintAsText(std::ostream& out, const Answer& answer) {
    for (const auto& [name, cell] : answer.facts) {
        out << name << ": " << TextOf(cell) << '\n';
    }
    for (const std::string& line : answer.drawing) {
        out << line << '\n';
    }
    if (answer.layout == e_Layout_Lines) {
        PrintLines(out, answer);
    } else if (!answer.rows.empty()) {
        PrintColumns(out, answer);
    }
}

void PrintAsJson(std::ostream& out, const Answer& answer) {
    JsonValue whole = {{"format", 1}};
    for (const auto& [name, cell] : answer.facts) {
        Add(whole, name, cell);
    }
    JsonValue& rows = whole[answer.subject] = JsonValue::array();
    for (const Row& row : answer.rows) {
        JsonValue object = JsonValue::object();
        for (std::size_t i = 0; i < row.size(); ++i) {
            Add(object, answer.columns[i], row[i]);
        }
        rows.append(std::move(object));
    }
    out << whole.dump(1) << '\n';
}

}  // namespace regs
