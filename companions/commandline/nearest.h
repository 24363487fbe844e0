#pragma once

#include <string>
#include <vector>

namespace commandline {

/**
 * "; did you mean A, B or C?" with the candidates that are nearest to what was written, best first;
 * "" if none is near: of a word a third of the letters may be wrong. If a candidate has more parts,
 * joined by dots, than were written, only its last ones are compared.
 */
std::string SuggestionFor(const std::string& written, const std::vector<std::string>& candidates);

}  // namespace commandline
