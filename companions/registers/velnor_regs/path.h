#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "companions/registers/velnor_regs/map.h"

namespace regs {

/** The target of a path; it points into the map. */
struct MapLocation {
    /** In the code's notation: a group always with its instance, a member only if it repeats. */
    std::string path;
    const Member* member;
    /** The word of a memory; no value if the path names the whole memory. */
    std::optional<std::size_t> word;
    /** The field and its series; null if the path ends at the member. */
    const Field* field;
    const Series<Field>* series;
    /** The descriptions of the group and of the member. */
    const Said* group;
    const Said* said;

    std::uintptr_t address() const { return member->address + 4 * word.value_or(0); }
};

/**
 * Resolves a path such as "sbuf.shelf_status[0].shelf_status_spi_values[5].value". [0] may be left
 * out if nothing repeats. A memory's last index is its word: word 5 here, and word 5 of element 3
 * in "hor_chroma_coef_dve[3][5]".
 *
 * Throws Failure for a malformed path, and for one without a target, with the nearest paths.
 */
MapLocation ResolvePath(const Map& map, const std::string& text);

/** An instance of a group; it points into the map. */
struct GroupLocation {
    std::string path;
    const Group* group;
    const Said* said;
};

/** As ResolvePath(), but the path may end at a group, or be the address of a word. */
std::variant<MapLocation, GroupLocation> ResolveOperand(const Map& map, const std::string& text);

/** The first `most` words of a group, in order of construction. */
std::vector<MapLocation> WordsOf(const GroupLocation& location, std::size_t most);

/** The address of the word that contains a byte. Throws Failure if the text isn't a number. */
std::uint64_t WordAddress(const std::string& text);

/** The paths of the words at an address. Throws Failure if there is none, with the nearest ones. */
std::vector<std::string> PathsAt(const Map& map, std::uint64_t address);

}  // namespace regs
