#pragma once

#include <cstddef>
#include <cstdint>

/**
 * What the hardware tables say of groups, registers, memories and fields beside their places:
 * texts, how a field may be accessed, and values after reset. It is apart from the designs, so that
 * programs that use a design neither compile nor link it.
 */
namespace hwmap {

enum e_Access {
    e_Access_Unstated,    // the data sheet does not say
    e_Access_ReadOnly,    // writes change nothing
    e_Access_WriteOnly,   // reads tell nothing
    e_Access_ReadClears,  // a read clears it, and writes change nothing
};

/** What is said of one thing, in every instance and element of it. */
struct Meaning {
    /** The design that it holds for; "" for every design that has the group. */
    const char* design;
    const char* group;
    /** "" for the group itself. */
    const char* member;
    /** "" for the group or member itself. */
    const char* field;
    /** "" if there is no text. */
    const char* about;
    e_Access access;
    /** Right-aligned in the field; below 0 if the data sheet does not say. */
    std::int64_t reset;
};

/** In the order of the tables; only things of which something is said. */
extern const Meaning MEANINGS[];
extern const std::size_t MEANING_COUNT;

}  // namespace hwmap
