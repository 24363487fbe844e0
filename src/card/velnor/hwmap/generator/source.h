#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

#include "src/card/velnor/hwmap/generator/tables.h"

namespace hwmaptables {

/** A pattern in which `$1` to `$9` stand for the values. */
std::string Filled(const std::string& pattern, std::initializer_list<std::string> values);

/** Unsigned literals. */
std::string HexLiteral(std::uint32_t number);
std::string DecimalLiteral(std::uint32_t number);

/** The text of a generated source, indented by its braces. */
class Source {
  public:
    /** One line, indented. */
    void line(const std::string& pattern, std::initializer_list<std::string> values = {});

    /** One line at the left edge, whose braces don't count. */
    void plain(const std::string& pattern, std::initializer_list<std::string> values = {});

    /**
     * Writes a statement for each element of a repeat: `@` becomes the index, "[i]", or nothing if
     * there is only one element.
     */
    void each(const TableRepeat& repeat, const std::string& pattern,
              std::initializer_list<std::string> values);

    const std::string& text() const { return i_text; }

  private:
    std::string i_text;
    std::size_t i_depth = 0;
};

}  // namespace hwmaptables
