#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace run {

/** The tool's arguments, read as the tool reads them. */
struct Operands {
    std::string image;
    std::string configuration;
    bool force = false;
    /** Index of the image among the arguments. */
    std::size_t imageAt = 0;
};

/** No value if the tool would refuse the number of arguments. */
std::optional<Operands> ReadOperands(const std::vector<std::string>& words);

}  // namespace run
