#pragma once

#include <cstdint>
#include <string>

namespace commandline {

/**
 * Untrusted text, safe for a terminal and on one line: printable ASCII as it is, a backslash
 * doubled, every other byte as \xNN.
 */
std::string Printable(const std::string& bytes);

/** A checksum in the format of the tool's log: four hexadecimal digits in upper case. */
std::string ChecksumText(uint16_t checksum);

}  // namespace commandline
