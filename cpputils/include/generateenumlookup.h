#pragma once

#include <cstring>

#include "logger/assertion.h"

/**
 * Enumerations with a text form, generated from one list:
 *
 *     #define COLOURS(X)        \
 *         X(e_Colour_Red, 0)    \
 *         X(e_Colour_Green, 1)
 *     GENERATE_ENUM(e_Colour, COLOURS)
 *
 * This defines `enum e_Colour` and its table for the conversions in EnumConverter. An enumerator's
 * text is its whole identifier. Use it at global scope.
 */
#define GENERATE_ENUM(EnumType, LIST)                                                  \
    enum EnumType : int { LIST(GENERATE_ENUMERATOR) };                                 \
    template <>                                                                        \
    struct EnumTableT<EnumType> {                                                      \
        static constexpr EnumEntryT<EnumType> entries[] = {LIST(GENERATE_ENUM_ENTRY)}; \
    };
#define GENERATE_ENUMERATOR(name, value) name = (value),
#define GENERATE_ENUM_ENTRY(name, value) {name, #name},

template <typename EnumType>
struct EnumEntryT {
    EnumType value;
    const char* name;
};

/** The name table of a generated enumeration, in the order of its list. */
template <typename EnumType>
struct EnumTableT;

/** Conversions of every generated enumeration. Pure look-ups: any thread may call them. */
namespace EnumConverter {

/** The row of an enumerator, or null for a value outside the list. */
template <typename EnumType>
constexpr const EnumEntryT<EnumType>* FindEntry(EnumType value) {
    for (const EnumEntryT<EnumType>& entry : EnumTableT<EnumType>::entries) {
        if (entry.value == value) {
            return &entry;
        }
    }
    return nullptr;
}

/** The enumerator's number. Asserts that the value is in the list. */
template <typename EnumType>
int EnumToVal(EnumType value) {
    if (FindEntry(value) == nullptr) {
        ASSERT(false);
    }
    return static_cast<int>(value);
}

/** The enumerator's name, or null for a value outside the list: check it before "%s". */
template <typename EnumType>
constexpr const char* EnumToString(EnumType value) {
    const EnumEntryT<EnumType>* const entry = FindEntry(value);
    return entry != nullptr ? entry->name : nullptr;
}

/**
 * If `name` is an enumerator's whole name, sets `*out`; otherwise leaves it alone and returns
 * false.
 */
template <typename EnumType>
[[nodiscard]] bool StringToEnum(const char* name, EnumType* out) {
    for (const EnumEntryT<EnumType>& entry : EnumTableT<EnumType>::entries) {
        if (strcmp(entry.name, name) == 0) {
            *out = entry.value;
            return true;
        }
    }
    return false;
}

/**
 * If `value` is an enumerator's number, sets `*out`; otherwise leaves it alone and returns false.
 */
template <typename EnumType>
[[nodiscard]] bool ValToEnum(EnumType* out, unsigned value) {
    for (const EnumEntryT<EnumType>& entry : EnumTableT<EnumType>::entries) {
        if (static_cast<unsigned>(entry.value) == value) {
            *out = entry.value;
            return true;
        }
    }
    return false;
}

}  // namespace EnumConverter
