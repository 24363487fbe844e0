#include "companions/registers/velnor_regs/access.h"

#include <algorithm>

#include "companions/registers/velnor_regs/failure.h"

namespace regs {

namespace {

bool ReadClears(const Series<Field>& field) {
    return field.said.access == hwmap::e_Access_ReadClears;
}

bool IsReadOnly(const Series<Field>& field) {
    return ReadClears(field) || field.said.access == hwmap::e_Access_ReadOnly;
}

/** A word is read-only if all its fields are. */
bool IsReadOnly(const MapLocation& place) {
    const auto& fields = place.member->fields;
    return place.series != nullptr
               ? IsReadOnly(*place.series)
               : !fields.empty() &&
                     std::all_of(fields.begin(), fields.end(),
                                 [](const Series<Field>& field) { return IsReadOnly(field); });
}

}  // namespace

void CheckRead(const MapLocation& place, bool forced) {
    const auto& fields = place.member->fields;
    const auto cleared = std::find_if(fields.begin(), fields.end(), ReadClears);
    if (!forced && cleared != fields.end()) {
        throw Failure(EXIT_FINDING, "reading " + place.path + " clears its field " + cleared->name +
                                        "; use --force to read it");
    }
}

void CheckWrite(const MapLocation& place, bool forced) {
    if (!forced && IsReadOnly(place)) {
        throw Failure(EXIT_FINDING, place.path + " is read-only; use --force to write it");
    }
    CheckRead(place, forced);
}

}  // namespace regs
