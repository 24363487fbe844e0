#pragma once

#include <cstdint>
#include <string>

namespace commandline {

/**
 * Text from outside, safe for a terminal and on one line: printable ASCII as it is, a backslash
 * doubled, every other byte as \xNN.
 */
std::string Printable(const std::string& bytes);

/** A checksum as the tool's log has it: four hexadecimal digits in upper case. */
std::string ChecksumText(uint16_t checksum);

}  // namespace commandline
