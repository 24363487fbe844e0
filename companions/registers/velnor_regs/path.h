#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "companions/registers/velnor_regs/map.h"

namespace regs {

/** What a path leads to; it points into the map. */
struct MapLocation {
    /** As the code reads: a group always with its instance, a member only where it repeats. */
    std::string path;
    const Member* member;
    /** The word of a memory; nothing where the path names the memory as a whole. */
    std::optional<std::size_t> word;
    /** Null where the path ends at the member, and so is the series that the field is one of. */
    const Field* field;
    const Series<Field>* series;
    /** What is said of the group and of the member. */
    const Said* group;
    const Said* said;

    std::uintptr_t address() const { return member->address + 4 * word.value_or(0); }
};

/**
 * Follows a path such as "sbuf.shelf_status[0].shelf_status_spi_values[5].value". What doesn't
 * repeat may leave out its [0]. A memory's last index is its word: the fifth one here, and word 5
 * of element 3 in "hor_chroma_coef_dve[3][5]".
 *
 * Throws Failure: for what is no path, and for one that leads nowhere, with the nearest ones.
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

/** The words of a group in order of construction, of those the first `most`. */
std::vector<MapLocation> WordsOf(const GroupLocation& location, std::size_t most);

/** The address of the word that a byte address belongs to. Throws Failure for what is no number. */
std::uint64_t WordAddress(const std::string& text);

/** The paths of the words at an address. Throws Failure if there is none, with the nearest ones. */
std::vector<std::string> PathsAt(const Map& map, std::uint64_t address);

}  // namespace regs
