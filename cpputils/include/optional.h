#pragma once

#include <utility>

#include "link/smartbuffer.h"
#include "logger/assertion.h"

/** A value that may be absent: the part that knows nothing of packing. */
template <typename T>
class BaseOptional {
  public:
    /** Absent, the value default-constructed. */
    BaseOptional() : i_exists(false), i_value() {}
    /** Present; implicit, so that a value can be given where it may be absent. */
    BaseOptional(T value)  // NOLINT(google-explicit-constructor)
        : i_exists(true), i_value(std::move(value)) {}
    BaseOptional(const BaseOptional&) = default;
    BaseOptional& operator=(const BaseOptional&) = default;
    virtual ~BaseOptional() = default;

    bool exists() const { return i_exists; }

    /** The value, which must exist. The reference holds until the object is changed. */
    const T& data() const {
        ASSERT(i_exists);
        return i_value;
    }

  protected:
    bool i_exists;
    T i_value;
};

/** A value that may be absent, in a message: a bool, and behind it the value if that is true. */
template <typename T>
class Optional : public BaseOptional<T>, public Packable {
  public:
    using BaseOptional<T>::BaseOptional;

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override {
        buffer << this->i_exists;
        if (this->i_exists) {
            buffer << this->i_value;
        }
        return buffer;
    }

    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override {
        buffer >> this->i_exists;
        if (this->i_exists) {
            buffer >> this->i_value;
        }
        return buffer;
    }
};
