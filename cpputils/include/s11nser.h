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
 * A class saves itself from the base upward. Each level calls the one below and then sets the class
 * name, so the node ends with the name of the most derived class. Loading ignores the class name.
 * Every `serialize` and `deserialize` returns false only if a property can't be read or written.
 */
using s11nlite::node_type;

/**
 * Stores `value` as the property `key`, replacing an earlier one. A value equal to the default
 * isn't stored; the property is removed.
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
 * Reads one property for S11NNamedGet. A missing or unreadable property gives the default, which is
 * success. A type whose reading can fail declares an overload next to the type.
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

    /** Called by name from the derived class; not virtual. */
    [[nodiscard]] bool serialize(node_type& node) const;
    [[nodiscard]] bool deserialize(const node_type& node);

  private:
    uint32_t i_version;
};

/** The base of the framework's savable objects. The class name of its nodes is "MemoryBase". */
class PersistenceBase : public S11NObject {
  public:
    PersistenceBase();

    [[nodiscard]] bool serialize(node_type& node) const;
    [[nodiscard]] bool deserialize(const node_type& node);
};

/**
 * Registers the names of the basic types: "bool", "int", "uint", "float" and "string". Each has a
 * factory of s11n for a new object, which is zero or empty.
 */
class BasicTypeRegistration {
  public:
    BasicTypeRegistration();
};

// One object in each source unit that includes this header, so that the names are registered before
// main, whichever units are linked.
static const BasicTypeRegistration BASIC_TYPE_REGISTRATION;
