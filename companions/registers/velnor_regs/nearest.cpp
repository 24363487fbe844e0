#include "companions/registers/velnor_regs/nearest.h"

#include <algorithm>
#include <numeric>

namespace regs {

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

/** How many letters have to be changed, added or taken away to make one text of the other. */
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

std::string NearestOf(const std::string& written, const std::vector<std::string>& candidates) {
    std::vector<std::pair<std::size_t, std::string>> ranked;
    ranked.reserve(candidates.size());
    for (const std::string& candidate : candidates) {
        ranked.emplace_back(EditDistance(written, EndAlike(candidate, written)), candidate);
    }
    const std::size_t count = std::min(SUGGESTIONS, ranked.size());
    std::partial_sort(ranked.begin(), ranked.begin() + static_cast<std::ptrdiff_t>(count),
                      ranked.end());
    std::string text = "did you mean ";
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : i + 1 == count ? " or " : ", ") + ranked[i].second;
    }
    return text + "?";
}

}  // namespace regs
