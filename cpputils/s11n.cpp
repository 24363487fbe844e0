#include "cpputils/include/s11n.h"

#include <utility>

#include "cpputils/s11ncompact.h"
#include "cpputils/s11nsimplexml.h"

namespace s11n {

s11n_node::s11n_node(std::string name) : i_name(std::move(name)) {}

s11n_node::s11n_node(const s11n_node& other)
    : i_name(other.i_name), i_className(other.i_className), i_properties(other.i_properties) {
    for (const s11n_node* child : other.i_children) {
        i_children.push_back(new s11n_node(*child));
    }
}

s11n_node& s11n_node::operator=(const s11n_node& other) {
    s11n_node copy(other);
    std::swap(i_name, copy.i_name);
    std::swap(i_className, copy.i_className);
    std::swap(i_properties, copy.i_properties);
    std::swap(i_children, copy.i_children);
    return *this;
}

s11n_node::~s11n_node() {
    for (const s11n_node* child : i_children) {
        delete child;
    }
}

bool s11n_node::is_set(const std::string& key) const {
    return i_properties.count(key) != 0;
}

void s11n_node::set(const std::string& key, const std::string& value) {
    i_properties[key] = value;
}

void s11n_node::unset(const std::string& key) {
    i_properties.erase(key);
}

std::string s11n_node::get(const std::string& key, const std::string& defaultValue) const {
    const auto found = i_properties.find(key);
    return found != i_properties.end() ? found->second : defaultValue;
}

namespace {

template <typename Serializer>
io::serializer* CreateSerializer() {
    return new Serializer;
}

template <typename Serializer>
void RegisterSerializer(fac::factory_mgr<io::serializer>& manager, const std::string& alias) {
    const Serializer serializer;
    for (const std::string& name : {alias, serializer.class_name(), serializer.magic_cookie()}) {
        manager.register_factory(name, CreateSerializer<Serializer>);
    }
}

}  // namespace

template <>
fac::factory_mgr<io::serializer>& fac::factory_mgr<io::serializer>::instance() {
    static factory_mgr manager = [] {
        factory_mgr registered;
        RegisterSerializer<io::simplexml_serializer>(registered, "simplexml");
        RegisterSerializer<io::compact_serializer>(registered, "compact");
        return registered;
    }();
    return manager;
}

}  // namespace s11n
