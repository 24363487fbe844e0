#pragma once

#include <utility>

#include "link/smartbuffer.h"
#include "logger/assertion.h"

/** A value that may be absent, without the packing. */
template <typename T>
class BaseOptional {
  public:
    /** Absent; the stored value is default-constructed. */
    BaseOptional() : i_exists(false), i_value() {}
    /** Present. Implicit, so that a plain value can be passed as an optional one. */
    BaseOptional(T value)  // NOLINT(google-explicit-constructor)
        : i_exists(true), i_value(std::move(value)) {}
    BaseOptional(const BaseOptional&) = default;
    BaseOptional& operator=(const BaseOptional&) = default;
    virtual ~BaseOptional() = default;

    bool exists() const { return i_exists; }

    /** The value, which must exist. The reference is valid until the object changes. */
    const T& data() const {
        ASSERT(i_exists);
        return i_value;
    }

  protected:
    bool i_exists;
    T i_value;
};

/** An optional value in a message: a bool, followed by the value if the bool is true. */
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
