#pragma once

#include <optional>

#include "companions/registers/velnor_regs/answer.h"
#include "companions/registers/velnor_regs/path.h"

namespace regs {

/**
 * The word that the path leads to, as a row of bits with its fields, and with their values where
 * the whole word's value is given. Of a path that ends at a field, that field alone.
 */
Answer DescribeWord(const std::string& design, const MapLocation& place,
                    const std::optional<std::uint32_t>& value);

/** A group's members. */
Answer DescribeGroup(const std::string& design, const GroupLocation& location);

/** The fields of the group's first words, of as many as there are values. */
Answer DescribeValues(const std::string& design, const GroupLocation& location,
                      const std::vector<std::uint32_t>& values);

}  // namespace regs
