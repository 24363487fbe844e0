#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

namespace bench {

inline uint64_t NanosecondsNow() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

/** Repeated measurements of one quantity; at least one. */
class Samples {
  public:
    void add(double figure) { i_figures.push_back(figure); }
    /** Quartile 0 to 4; 2 is the median. */
    double quartile(size_t quarters) const {
        std::vector<double> sorted = i_figures;
        std::sort(sorted.begin(), sorted.end());
        return sorted[(sorted.size() - 1) * quarters / 4];
    }

  private:
    std::vector<double> i_figures;
};

}  // namespace bench
