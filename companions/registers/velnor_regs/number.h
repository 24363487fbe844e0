#pragma once

#include <cstdint>
#include <string>

namespace regs {

/**
 * Reads a decimal number, or 0x and hexadecimal digits. Throws Failure for anything else, and for a
 * number above `largest`.
 */
std::uint64_t NumberOf(const std::string& text, std::uint64_t largest);

/** 0x and hexadecimal digits. */
std::string HexText(std::uint64_t number);

}  // namespace regs
