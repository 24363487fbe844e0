#include "cpputils/include/s11nser.h"

namespace {

constexpr uint32_t CURRENT_VERSION = 106;
const char* const VERSION_KEY = "i_version";

template <typename T>
void RegisterType(const char* name) {
    s11n::fac::factory_mgr<T>::instance().register_factory(name, [] { return new T(); });
}

}  // namespace

BasicTypeRegistration::BasicTypeRegistration() {
    RegisterType<bool>("bool");
    RegisterType<int>("int");
    RegisterType<unsigned int>("uint");
    RegisterType<float>("float");
    RegisterType<std::string>("string");
}

bool S11NObject::serialize(node_type& node) const {
    node.class_name("S11NObject");
    S11NNamedSet(node, VERSION_KEY, i_version, 0);
    return true;
}

bool S11NObject::deserialize(const node_type& node) {
    return S11NNamedGet(node, VERSION_KEY, i_version, 0);
}

PersistenceBase::PersistenceBase() : S11NObject(CURRENT_VERSION) {}

bool PersistenceBase::serialize(node_type& node) const {
    if (!S11NObject::serialize(node)) {
        return false;
    }
    node.class_name("MemoryBase");
    return true;
}

bool PersistenceBase::deserialize(const node_type& node) {
    return S11NObject::deserialize(node);
}
