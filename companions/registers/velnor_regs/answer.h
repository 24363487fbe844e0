#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace regs {

/** A number that text shows in hexadecimal, and JSON in decimal. */
struct Hex {
    std::uint64_t number;
};

/** Empty cells are left out of JSON. */
using Cell = std::variant<std::monostate, std::uint64_t, Hex, std::string>;
using Row = std::vector<Cell>;

enum e_Layout {
    e_Layout_Columns,  // aligned, under a heading
    e_Layout_Lines,    // cells separated by a blank, without a heading
};

/** Result of a command, to be printed as text or JSON. */
struct Answer {
    e_Layout layout = e_Layout_Columns;
    std::vector<std::pair<std::string, Cell>> facts;
    /** Printed only as text, since it repeats the rows. */
    std::vector<std::string> drawing;
    /** The kind of the rows, and the names of their cells. */
    std::string subject;
    std::vector<std::string> columns;
    std::vector<Row> rows;
    int exitValue = 0;
};

/** A changed value. */
struct Change {
    /** Since the start. */
    double seconds;
    std::string path;
    std::uint32_t value;
    /** No value at the first poll. */
    std::optional<std::uint32_t> before;
};

/** One line each. */
void PrintChange(std::ostream& out, const Change& change);
void PrintChangeAsJson(std::ostream& out, const Change& change);

void PrintAsText(std::ostream& out, const Answer& answer);

/** One object: the format, the facts, and an array of objects under the name of the subject. */
void PrintAsJson(std::ostream& out, const Answer& answer);

}  // namespace regs
