#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace run {

/** The tool's words, as the tool reads them. */
struct Operands {
    std::string image;
    std::string configuration;
    bool force = false;
    /** Where the image is among the words. */
    std::size_t imageAt = 0;
};

/** No value if the tool would refuse the words for their number. */
std::optional<Operands> ReadOperands(const std::vector<std::string>& words);

}  // namespace run
