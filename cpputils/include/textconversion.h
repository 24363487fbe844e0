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
 * One value read from the front of the text by `operator>>`; what follows it is ignored. The state
 * of the stream is ignored too, so the result is what the extraction leaves: 0 for text that is no
 * number and for empty text, the nearest number of the type for one out of its range. Of bools, any
 * number but 0 is true, and what is no number is false.
 */
template <typename T>
T fromString(const std::string& text) {
    std::stringstream stream(text);
    T value{};
    stream >> value;
    return value;
}
