#pragma once

#include <cstddef>
#include <cstdint>

/**
 * The hardware tables' descriptions of groups, registers, memories and fields: texts, access rules
 * and reset values. They are separate from the designs, so that programs that use a design neither
 * compile nor link them.
 */
namespace hwmap {

enum e_Access {
    e_Access_Unstated,    // the data sheet does not say
    e_Access_ReadOnly,    // writes change nothing
    e_Access_WriteOnly,   // the result of a read has no meaning
    e_Access_ReadClears,  // a read clears it, and writes change nothing
};

/** The description of one thing, for every instance and element of it. */
struct Meaning {
    /** The design that it is for; "" for every design that has the group. */
    const char* design;
    const char* group;
    /** "" for the group itself. */
    const char* member;
    /** "" for the group or member itself. */
    const char* field;
    /** "" if there is no text. */
    const char* about;
    e_Access access;
    /** Right-aligned in the field; negative if the data sheet does not say. */
    std::int64_t reset;
};

/** In the order of the tables; only things that have a description. */
extern const Meaning MEANINGS[];
extern const std::size_t MEANING_COUNT;

}  // namespace hwmap
