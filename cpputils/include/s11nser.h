#pragma once

#include <boost/call_traits.hpp>
#include <cstdint>
#include <sstream>
#include <string>

#include "cpputils/include/s11n.h"
#include "logger/logger.h"

/**
 * Objects that can be saved as property trees: a thin layer over s11n.
 *
 * A class saves itself from the base upward, each level calling the one below and then setting the
 * class name, so that the node ends up with the name of the most derived class. Loading doesn't
 * look at the class name. Every `serialize` and `deserialize` returns false only where a property
 * can't be read or written.
 */
using s11nlite::node_type;

/**
 * Stores `value` as the property `key`, replacing an earlier one. The default isn't stored: its
 * property is taken away.
 */
template <typename T>
void S11NNamedSet(node_type& node, const std::string& key, const T& value,
                  typename boost::call_traits<T>::param_type defaultValue) {
    if (value == defaultValue) {
        node.unset(key);
        return;
    }
    std::ostringstream text;
    text.precision(16);
    text << value;
    node.set(key, text.str());
}

/**
 * How S11NNamedGet reads one property: a missing or unreadable one gives the default, and that is
 * success. A type with a reading of its own, which can fail, overloads it beside the type.
 */
template <typename T>
bool S11NReadProperty(const node_type& node, const std::string& key, T& value,
                      const T& defaultValue) {
    if (node.is_set(key)) {
        std::istringstream text(node.get(key, ""));
        if (text >> value) {
            return true;
        }
    }
    value = defaultValue;
    return true;
}

/** Reads the property `key` into `value`. A failure is logged and returned as false. */
template <typename T>
bool S11NNamedGet(const node_type& node, const std::string& key, T& value,
                  typename boost::call_traits<T>::param_type defaultValue) {
    if (!S11NReadProperty(node, key, value, defaultValue)) {
        LOG_MESSAGE(ERROR, "Error deserializing %s", key.c_str());
        return false;
    }
    return true;
}

/** The root of all objects that can be saved: a version, stored unless it is 0. */
class S11NObject {
  public:
    explicit S11NObject(uint32_t version) : i_version(version) {}
    virtual ~S11NObject() = default;

    /** Named and called by the next class down; not virtual. */
    [[nodiscard]] bool serialize(node_type& node) const;
    [[nodiscard]] bool deserialize(const node_type& node);

  private:
    uint32_t i_version;
};

/** The base of the framework's savable objects. Its nodes bear the name "MemoryBase". */
class PersistenceBase : public S11NObject {
  public:
    PersistenceBase();

    [[nodiscard]] bool serialize(node_type& node) const;
    [[nodiscard]] bool deserialize(const node_type& node);
};

/**
 * Registers the names of the basic types: "bool", "int", "uint", "float" and "string", each with a
 * factory of s11n for a new, zero or empty, object.
 */
class BasicTypeRegistration {
  public:
    BasicTypeRegistration();
};

// One for each source unit that includes this header, so that the names are there before main
// whichever units a program is linked from.
static const BasicTypeRegistration BASIC_TYPE_REGISTRATION;
