#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "companions/registers/velnor_regs/map.h"

/** A map with its repeats folded: each name once, with how often and how far apart it stands. */
namespace regs {

/** `step` is in bytes, for fields in bits; 0 for what stands once. */
struct Repeat {
    std::size_t count;
    std::uint64_t step;
};

struct FieldOutline {
    std::string name;
    Said said;
    unsigned int mask;
    unsigned int shift;  // of element 0
    Repeat repeat;
};

struct MemberOutline {
    std::string name;
    Said said;
    bool isMemory;
    std::uint64_t offset;  // of element 0, from the group's instance
    std::size_t words;
    Repeat repeat;
    std::vector<FieldOutline> fields;
};

struct GroupOutline {
    std::string domain;
    std::string name;
    Said said;
    std::uint64_t address;  // of instance 0
    Repeat repeat;
    std::vector<MemberOutline> members;
};

/** All groups in order of construction. Elements of one name stand at even distances. */
std::vector<GroupOutline> OutlineOf(const Map& map);

/** How many objects of each kind a map has. */
struct MapCounts {
    std::uint64_t groupTypes = 0;
    std::uint64_t groups = 0;
    std::uint64_t registers = 0;
    std::uint64_t memories = 0;
    std::uint64_t fields = 0;
};

MapCounts CountsOf(const std::vector<GroupOutline>& map);

/** A difference between maps: what of the path is what in each of them. */
struct Difference {
    std::string path;
    /** One for each map; "absent" where the map lacks the thing, "" where it lacks its owner. */
    std::vector<std::string> values;
};

/** What of the maps isn't the same in all of them, in order of construction. */
std::vector<Difference> DifferencesOf(const std::vector<std::vector<GroupOutline>>& maps);

}  // namespace regs
