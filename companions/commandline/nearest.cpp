#include "companions/commandline/nearest.h"

#include <algorithm>
#include <numeric>

namespace commandline {

namespace {

constexpr std::size_t SUGGESTIONS = 3;

/** As many of the last parts of `candidate` as `written` has parts. */
std::string EndAlike(const std::string& candidate, const std::string& written) {
    std::size_t start = std::string::npos;
    for (auto parts = std::count(written.begin(), written.end(), '.') + 1; parts > 0; --parts) {
        start = candidate.rfind('.', start == std::string::npos ? start : start - 1);
        if (start == std::string::npos || start == 0) {
            return candidate;
        }
    }
    return candidate.substr(start + 1);
}

/** How many letters must be changed, added or removed to turn one text into the other. */
std::size_t EditDistance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string SuggestionFor(const std::string& written, const std::vector<std::string>& candidates) {
    const std::size_t most = std::max<std::size_t>(1, written.size() / 3);
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = EditDistance(written, EndAlike(candidate, written));
        if (distance <= most) {
            ranked.emplace_back(distance, candidate);
        }
    }
    std::sort(ranked.begin(), ranked.end());
    // Candidates much worse than the best one are left out.
    std::size_t count = 0;
    while (count < std::min(SUGGESTIONS, ranked.size()) &&
           ranked[count].first <= ranked[0].first + 1) {
        ++count;
    }
    std::string text = count == 0 ? "" : "; did you mean ";
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : i + 1 == count ? " or " : ", ") + ranked[i].second;
    }
    return text + (count == 0 ? "" : "?");
}

}  // namespace commandline
