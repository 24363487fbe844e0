// Looks up what others registered: this file itself includes nothing that registers.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "cpputils/include/s11n.h"

namespace {

template <typename T>
void ExpectFactory(const std::string& name) {
    const auto& factories = s11n::fac::factory_mgr<T>::instance();
    ASSERT_TRUE(factories.provides(name)) << name;
    const std::unique_ptr<T> first(factories.create(name));
    const std::unique_ptr<T> second(factories.create(name));
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(*first, T());
    EXPECT_EQ(factories.create(name + "x"), nullptr);
}

TEST(Registrations, KnowTheBasicTypes) {
    ExpectFactory<bool>("bool");
    ExpectFactory<int>("int");
    ExpectFactory<unsigned int>("uint");
    ExpectFactory<float>("float");
    ExpectFactory<std::string>("string");
    EXPECT_FALSE(s11n::fac::factory_mgr<int>::instance().provides("uint"));
}

TEST(Registrations, KnowTheSerializers) {
    const struct {
        const char* alias;
        const char* className;
        const char* lexer;
        const char* cookie;
    } cases[] = {
        {"simplexml", "s11n::io::simplexml_serializer", "simplexml_data_nodeFlexLexer",
         "<!DOCTYPE s11n::simplexml>"},
        {"compact", "s11n::io::compact_serializer", "compact_data_nodeFlexLexer", "51191011"},
    };
    for (const auto& c : cases) {
        for (const char* name : {c.alias, c.className, c.cookie}) {
            SCOPED_TRACE(name);
            const std::unique_ptr<s11n::io::serializer> serializer(
                s11n::fac::factory_mgr<s11n::io::serializer>::instance().create(name));
            ASSERT_NE(serializer, nullptr);
            EXPECT_EQ(serializer->class_name(), c.className);
            EXPECT_EQ(serializer->lexer_name(), c.lexer);
            EXPECT_EQ(serializer->magic_cookie(), c.cookie);
        }
    }
}

}  // namespace
