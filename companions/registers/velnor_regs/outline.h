#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "companions/registers/velnor_regs/map.h"

/** A map with repeated objects folded: each name once, with its count and step. */
namespace regs {

/** `step` is in bytes, for fields in bits; 0 if `count` is 1. */
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

/** All groups in order of construction. The objects of one name are evenly spaced. */
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

/** A difference between maps at one path. */
struct Difference {
    std::string path;
    /** One for each map; "absent" if the map lacks the object, "" if it lacks its owner. */
    std::vector<std::string> values;
};

/** All differences between the maps, in order of construction. */
std::vector<Difference> DifferencesOf(const std::vector<std::vector<GroupOutline>>& maps);

}  // namespace regs
