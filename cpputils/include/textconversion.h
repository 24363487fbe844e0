#pragma once

#include <sstream>
#include <string>

/**
 * The value's text by the default formatting of a stream: decimal digits, and "1" or "0" for a
 * bool. "CONVERSION_ERROR" if the stream refuses the value.
 */
template <typename T>
std::string toString(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream ? stream.str() : "CONVERSION_ERROR";
}

/**
 * Reads one value from the start of the text with `operator>>`, and ignores the rest and the state
 * of the stream. The result is therefore what the extraction stores: 0 for empty text and for text
 * that is not a number, and the nearest limit of the type for a number out of range. For a bool,
 * any number but 0 is true, and text that is not a number is false.
 */
template <typename T>
T fromString(const std::string& text) {
    std::stringstream stream(text);
    T value{};
    stream >> value;
    return value;
}
