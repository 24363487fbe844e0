#pragma once

#include <string>
#include <vector>

namespace commandline {

/**
 * "; did you mean A, B or C?" with the candidates nearest to `written`, best first; "" if none is
 * near. A third of the letters may be wrong, but at least one. If a candidate has more parts,
 * joined by dots, than `written`, only its last ones are compared.
 */
std::string SuggestionFor(const std::string& written, const std::vector<std::string>& candidates);

}  // namespace commandline
