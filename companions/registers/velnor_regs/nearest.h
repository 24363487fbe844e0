#pragma once

#include <string>
#include <vector>

namespace regs {

/**
 * "did you mean A, B or C?" with the candidates that are nearest to what was written, best first.
 * A candidate with more parts, joined by dots, than were written counts by its last ones, so that
 * who leaves out the beginning finds it.
 */
std::string NearestOf(const std::string& written, const std::vector<std::string>& candidates);

}  // namespace regs
