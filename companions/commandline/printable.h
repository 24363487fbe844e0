#pragma once

#include <string>

namespace commandline {

/**
 * Text from outside, safe for a terminal and on one line: printable ASCII as it is, a backslash
 * doubled, every other byte as \xNN.
 */
std::string Printable(const std::string& bytes);

}  // namespace commandline
