#pragma once

#include <iosfwd>
#include <list>
#include <map>
#include <string>

/**
 * Object serialisation: trees of named nodes with string properties, factories by type and name,
 * and two serialisers that write a tree to a stream and read it back.
 *
 * This small layer has the names of the s11n library, as far as the framework uses them, so that
 * the library can replace it. Nothing throws; nothing is locked.
 */

// The names are the library's.
// NOLINTBEGIN(readability-identifier-naming)
namespace s11n {

/**
 * One node: a name, the name of its object's class, properties and child nodes. A string may hold
 * any bytes. Copying a node copies the whole tree.
 */
class s11n_node {
  public:
    using map_type = std::map<std::string, std::string>;
    /** The node owns its children: add objects made with `new`, and delete any that you remove. */
    using child_list_type = std::list<s11n_node*>;

    explicit s11n_node(std::string name = "s11n_node");
    s11n_node(const s11n_node& other);
    s11n_node& operator=(const s11n_node& other);
    ~s11n_node();

    const std::string& name() const { return i_name; }
    void name(const std::string& name) { i_name = name; }
    const std::string& class_name() const { return i_className; }
    void class_name(const std::string& className) { i_className = className; }

    bool is_set(const std::string& key) const;
    /** Replaces an earlier value. */
    void set(const std::string& key, const std::string& value);
    void unset(const std::string& key);
    /** The property, or `defaultValue` if it isn't set. */
    std::string get(const std::string& key, const std::string& defaultValue) const;

    const map_type& properties() const { return i_properties; }
    map_type& properties() { return i_properties; }
    const child_list_type& children() const { return i_children; }
    child_list_type& children() { return i_children; }

  private:
    std::string i_name;
    std::string i_className;
    map_type i_properties;
    child_list_type i_children;
};

namespace fac {

/**
 * The factories of one type, each with a name. There is one instance for each type, shared by all
 * source units. Factories are registered before main, on one thread; later the instance is only
 * read.
 */
template <typename T>
class factory_mgr {
  public:
    using factory_type = T* (*)();

    static factory_mgr& instance() {
        static factory_mgr manager;
        return manager;
    }

    /** Registering a name again replaces its factory. */
    void register_factory(const std::string& name, factory_type factory) {
        i_factories[name] = factory;
    }

    bool provides(const std::string& name) const { return i_factories.count(name) != 0; }

    /** A new object of the type, which the caller owns, or null for an unknown name. */
    [[nodiscard]] T* create(const std::string& name) const {
        const auto found = i_factories.find(name);
        return found != i_factories.end() ? found->second() : nullptr;
    }

  private:
    factory_mgr() = default;

    std::map<std::string, factory_type> i_factories;
};

}  // namespace fac

namespace io {

/**
 * Writes a tree to a stream and reads it back. The factories of this type are "simplexml" and
 * "compact". Each is also registered under its class name and its magic cookie.
 *
 * Trees more than MaxDepth levels deep are refused.
 */
class serializer {
  public:
    static constexpr int MaxDepth = 200;

    virtual ~serializer() = default;
    virtual std::string class_name() const = 0;
    /** The name of the library's lexer for the format. */
    virtual std::string lexer_name() const = 0;
    /** The first line of its output, which identifies the format. */
    virtual std::string magic_cookie() const = 0;
    /** False if the tree is too deep or the stream fails; part of it may have been written. */
    [[nodiscard]] virtual bool serialize(const s11n_node& node, std::ostream& out) const = 0;
    /** A new tree, which the caller owns, or null if the stream doesn't hold one. */
    virtual s11n_node* deserialize(std::istream& in) const = 0;
};

}  // namespace io

/** Registers both serialisers when the instance is built. */
template <>
fac::factory_mgr<io::serializer>& fac::factory_mgr<io::serializer>::instance();

}  // namespace s11n

namespace s11nlite {

using node_type = s11n::s11n_node;

}  // namespace s11nlite
// NOLINTEND(readability-identifier-naming)
