#include "platform/diskaccess.h"

#define DEFINE_STORAGE_PATH(name, text) const std::string name = text;
STORAGE_PATHS(DEFINE_STORAGE_PATH)
#undef DEFINE_STORAGE_PATH

namespace {

struct LocationWord {
    e_StorageLocation location;
    const char* word;
};

constexpr LocationWord LOCATION_WORDS[] = {
#define STORAGE_LOCATION_WORD(name, value, word) {name, word},
    STORAGE_LOCATIONS(STORAGE_LOCATION_WORD)
#undef STORAGE_LOCATION_WORD
};

// The internal location, which is also the result for unknown words and values.
constexpr const LocationWord& fallback = LOCATION_WORDS[0];

}  // namespace

e_StorageLocation storageLocationFromString(const std::string& word) {
    for (const LocationWord& row : LOCATION_WORDS) {
        if (word == row.word) {
            return row.location;
        }
    }
    return fallback.location;
}

std::string storageLocationToString(e_StorageLocation location) {
    for (const LocationWord& row : LOCATION_WORDS) {
        if (location == row.location) {
            return row.word;
        }
    }
    return fallback.word;
}
