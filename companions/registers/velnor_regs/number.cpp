#include "companions/registers/velnor_regs/number.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <system_error>

#include "companions/registers/velnor_regs/failure.h"

namespace regs {

std::uint64_t NumberOf(const std::string& text, std::uint64_t largest) {
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && std::tolower(text[1]) == 'x';
    const char* const digits = text.data() + (hexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(digits, end, number, hexadecimal ? 16 : 10);
    if (stop != end || error == std::errc::invalid_argument) {
        throw Failure(
            EXIT_WRONG_USAGE,
            "\"" + text + "\" is not a number; give decimal digits, or 0x and hexadecimal");
    }
    if (error != std::errc() || number > largest) {
        throw Failure(EXIT_WRONG_USAGE, text + " is too large; give at most " + HexText(largest));
    }
    return number;
}

std::string HexText(std::uint64_t number) {
    char text[20];
    (void)snprintf(text, sizeof(text), "0x%lx", number);
    return text;
}

}  // namespace regs
