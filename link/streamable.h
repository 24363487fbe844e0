#pragma once

#include <istream>
#include <ostream>

/** Anything that can be written to a stream. */
class Streamable {
  public:
    virtual ~Streamable() = default;
    /** Returns `stream`. */
    virtual std::ostream& toStream(std::ostream& stream) const = 0;
};

/** Anything that can be read from a stream. */
class Extractable {
  public:
    virtual ~Extractable() = default;
    /** Returns `stream`, whose state shows a failure. */
    virtual std::istream& fromStream(std::istream& stream) = 0;
};

inline std::ostream& operator<<(std::ostream& stream, const Streamable& value) {
    return value.toStream(stream);
}

inline std::istream& operator>>(std::istream& stream, Extractable& value) {
    return value.fromStream(stream);
}
