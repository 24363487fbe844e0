#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "include/hwaccess.h"
#include "src/card/velnor/hwmap/meanings.h"

/**
 * The register map of a design, taken from its constructed objects: addresses, names and order of
 * construction. Addresses are bytes from the design's base.
 */
namespace regs {

using RegisterObject = Register<VolatileAccessor, unsigned int>;
using MemoryObject = Memory<VolatileAccessor, unsigned int>;
using RegisterFieldObject = RegisterField<VolatileAccessor, unsigned int>;
using MemoryFieldObject = MemoryField<VolatileAccessor, unsigned int>;

/** What the hardware tables state about a name besides its place; the same for all its objects. */
struct Said {
    std::string about;
    hwmap::e_Access access = hwmap::e_Access_Unstated;
    /** Of each field of the name, right-aligned. */
    std::optional<std::uint32_t> reset;
};

/** The objects of one name, from element 0 on. Only names with more than one object repeat. */
template <class Element>
struct Series {
    std::string name;
    std::vector<Element> elements;
    Said said;

    bool repeats() const { return elements.size() > 1; }
};

struct Field {
    unsigned int mask;  // right-aligned
    unsigned int shift;
    // The object in a register or in a memory; the other is null.
    RegisterFieldObject* registerObject;
    MemoryFieldObject* memoryObject;
};

struct Member {
    std::uintptr_t address;
    std::size_t words;  // 1 for a register
    // The register or the memory; the other is null.
    RegisterObject* registerObject;
    MemoryObject* memoryObject;
    std::vector<Series<Field>> fields;

    bool isMemory() const { return memoryObject != nullptr; }
};

/** An instance of a group. */
struct Group {
    std::uintptr_t address;
    std::vector<Series<Member>> members;
};

struct Domain {
    std::string name;
    std::vector<Series<Group>> groups;
};

/**
 * A design and its map. The map owns the design and its objects. They access memory only when they
 * are asked for a word.
 */
struct Map {
    std::shared_ptr<void> design;
    std::vector<Domain> domains;
};

/** The names of the five designs. */
std::vector<std::string> DesignNames();

/** Constructs a design at `base`, and its map. Throws Failure for an unknown name. */
Map OpenMap(const std::string& design, void* base);

/** "ro", "wo" or "rc", as in the hardware tables; "" if the data sheet states none. */
const char* AccessText(hwmap::e_Access access);
/** Calls back for each register and memory object in order of construction, with its path. */
void ForEachMember(const Map& map,
                   const std::function<void(const std::string& path, const Member& member)>& call);

/** The number of bits in a right-aligned mask. */
unsigned int WidthOf(unsigned int mask);
/** "31:22", or "22" for a single bit. */
std::string BitsOf(const Field& field);
/** "[3]", or "" if it doesn't repeat. */
std::string IndexOf(bool repeats, std::size_t element);
/** "[0..7]", or "" if it doesn't repeat. */
template <class Element>
std::string RangeOf(const Series<Element>& series) {
    return series.repeats() ? "[0.." + std::to_string(series.elements.size() - 1) + "]" : "";
}

}  // namespace regs
