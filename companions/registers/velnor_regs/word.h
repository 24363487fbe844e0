#pragma once

#include <optional>

#include "companions/registers/velnor_regs/answer.h"
#include "companions/registers/velnor_regs/path.h"

namespace regs {

/**
 * The word at the path as a row of bits, with its fields, and with their values if the word's value
 * is given. If the path ends at a field, only that field.
 */
Answer DescribeWord(const std::string& design, const MapLocation& place,
                    const std::optional<std::uint32_t>& value);

/** The members of a group. */
Answer DescribeGroup(const std::string& design, const GroupLocation& location);

/** The fields of the group's first words, one word for each value. */
Answer DescribeValues(const std::string& design, const GroupLocation& location,
                      const std::vector<std::uint32_t>& values);

}  // namespace regs
