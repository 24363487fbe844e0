#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace regs {

/** A number that is written in hexadecimal where people read it. */
struct Hex {
    std::uint64_t number;
};

/** Empty cells are left out of JSON. */
using Cell = std::variant<std::monostate, std::uint64_t, Hex, std::string>;
using Row = std::vector<Cell>;

enum e_Layout {
    e_Layout_Columns,  // aligned, under a heading
    e_Layout_Lines,    // cells with a blank between them and no heading
};

/** What a command has found out, for people and for scripts alike. */
struct Answer {
    e_Layout layout = e_Layout_Columns;
    std::vector<std::pair<std::string, Cell>> facts;
    /** Shown to people alone, since it says nothing that the rest doesn't. */
    std::vector<std::string> drawing;
    /** What the rows are, and the names of their cells. */
    std::string subject;
    std::vector<std::string> columns;
    std::vector<Row> rows;
    int exitValue = 0;
};

/** A value that isn't what it was. */
struct Change {
    /** Since the start. */
    double seconds;
    std::string path;
    std::uint32_t value;
    /** Nothing at the first look. */
    std::optional<std::uint32_t> before;
};

/** One line each. */
void PrintChange(std::ostream& out, const Change& change);
void PrintChangeAsJson(std::ostream& out, const Change& change);

void PrintAsText(std::ostream& out, const Answer& answer);

/** One object: the format, the facts, and an array of objects under the name of the subject. */
void PrintAsJson(std::ostream& out, const Answer& answer);

}  // namespace regs
