#pragma once

#include <cstdint>
#include <string>

namespace regs {

/** A decimal number or 0x and hexadecimal digits. Throws Failure for anything else or too much. */
std::uint64_t NumberOf(const std::string& text, std::uint64_t largest);

/** As people read it, 0x and its digits. */
std::string HexText(std::uint64_t number);

}  // namespace regs
