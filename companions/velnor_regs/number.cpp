#include "companions/velnor_regs/number.h"

#include <cstdio>
#include <regex>

#include "companions/velnor_regs/failure.h"

namespace regs {

std::uint64_t NumberOf(const std::string& text, std::uint64_t largest) {
    static const std::regex DECIMAL("[0-9]{1,18}");
    static const std::regex HEXADECIMAL("0[xX][0-9a-fA-F]{1,15}");
    const bool hexadecimal = std::regex_match(text, HEXADECIMAL);
    if (!hexadecimal && !std::regex_match(text, DECIMAL)) {
        throw Failure(EXIT_WRONG_USAGE,
                      "\"" + text + "\" is no number; write decimal digits, or 0x and hexadecimal");
    }
    const std::uint64_t number = std::stoull(text, nullptr, hexadecimal ? 16 : 10);
    if (number > largest) {
        throw Failure(EXIT_WRONG_USAGE, text + " is too large; at most " + HexText(largest));
    }
    return number;
}

std::string HexText(std::uint64_t number) {
    char text[20];
    (void)snprintf(text, sizeof(text), "0x%lx", number);
    return text;
}

}  // namespace regs
