#include "src/card/velnor/hwmap/generator/source.h"

#include <cstdio>

namespace hwmaptables {

namespace {

constexpr std::size_t INDENT = 4;

std::string Replaced(std::string text, const std::string& mark, const std::string& by) {
    for (std::size_t at = text.find(mark); at != std::string::npos;
         at = text.find(mark, at + by.size())) {
        text.replace(at, mark.size(), by);
    }
    return text;
}

}  // namespace

std::string Filled(const std::string& pattern, std::initializer_list<std::string> values) {
    std::string text = pattern;
    char digit = '1';
    for (const std::string& value : values) {
        text = Replaced(std::move(text), std::string("$") + digit, value);
        ++digit;
    }
    return text;
}

std::string HexLiteral(std::uint32_t number) {
    char text[16];
    (void)snprintf(text, sizeof(text), "0x%xU", number);
    return text;
}

std::string DecimalLiteral(std::uint32_t number) {
    return std::to_string(number) + "U";
}

void Source::line(const std::string& pattern, std::initializer_list<std::string> values) {
    const std::string text = Filled(pattern, values);
    if (text[0] == '}') {
        --i_depth;
    }
    const bool isLabel = text == "public:" || text == "private:";
    i_text += std::string(i_depth * INDENT - (isLabel ? INDENT / 2 : 0), ' ');
    i_text += text;
    i_text += '\n';
    if (text.back() == '{') {
        ++i_depth;
    }
}

void Source::plain(const std::string& pattern, std::initializer_list<std::string> values) {
    i_text += Filled(pattern, values);
    i_text += '\n';
}

void Source::each(const TableRepeat& repeat, const std::string& pattern,
                  std::initializer_list<std::string> values) {
    const std::string statement = Filled(pattern, values);
    if (!repeat.isArray()) {
        line(Replaced(statement, "@", ""));
        return;
    }
    line("for (unsigned int i = 0; i < $1; ++i) {", {DecimalLiteral(repeat.count)});
    line(Replaced(statement, "@", "[i]"));
    line("}");
}

}  // namespace hwmaptables
