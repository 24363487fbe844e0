#include "cpputils/include/s11nser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "tests/support/child.h"

namespace {

TEST(S11NNamedSet, StoresEverythingButTheDefault) {
    node_type node;
    S11NNamedSet(node, "number", 42U, 0U);
    S11NNamedSet(node, "double", 1.0 / 3.0, 0.0);
    S11NNamedSet(node, "flag", true, false);
    S11NNamedSet(node, "text", std::string("two words"), std::string());
    S11NNamedSet(node, "default", 5, 5);
    EXPECT_EQ(node.properties(), (node_type::map_type{{"number", "42"},
                                                      {"double", "0.3333333333333333"},
                                                      {"flag", "1"},
                                                      {"text", "two words"}}));
    S11NNamedSet(node, "number", 43U, 0U);
    EXPECT_EQ(node.get("number", ""), "43");
    S11NNamedSet(node, "number", 0U, 0U);
    EXPECT_FALSE(node.is_set("number"));
}

TEST(S11NNamedGet, FallsBackToTheDefault) {
    const struct {
        const char* text;  // null: no such property
        int value;
    } cases[] = {
        {"17", 17}, {" -3 rest", -3}, {nullptr, 5}, {"x", 5}, {"", 5}, {"99999999999", 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "absent");
        node_type node;
        if (c.text != nullptr) {
            node.set("key", c.text);
        }
        int value = 1;
        EXPECT_TRUE(S11NNamedGet(node, "key", value, 5));
        EXPECT_EQ(value, c.value);
    }
}

struct Unreadable {};
bool S11NReadProperty(const node_type& /*node*/, const std::string& /*key*/, Unreadable& /*value*/,
                      const Unreadable& /*defaultValue*/) {
    return false;
}

TEST(S11NNamedGet, ReportsAFailedRead) {
    const auto result = testsupport::RunInChild([] {
        Unreadable value;
        const bool read = S11NNamedGet(node_type(), "myKey", value, Unreadable());
        _exit((fflush(stdout), read ? 1 : 0));
    });
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_THAT(result.out,
                testing::MatchesRegex("C: 001 S: ERROR T: p:[0-9]+ \"Error deserializing myKey\" "
                                      "at cpputils/include/s11nser\\.h:[0-9]+\\.\n"));
}

TEST(PersistenceBase, SavesItsClassNameAndVersion) {
    node_type node;
    EXPECT_TRUE(PersistenceBase().serialize(node));
    EXPECT_EQ(node.class_name(), "MemoryBase");
    EXPECT_EQ(node.properties(), (node_type::map_type{{"i_version", "106"}}));

    EXPECT_TRUE(S11NObject(UINT_MAX).serialize(node));
    EXPECT_EQ(node.class_name(), "S11NObject");
    EXPECT_EQ(node.get("i_version", ""), "4294967295");
}

TEST(PersistenceBase, LoadsItsVersionForAnyClassName) {
    const struct {
        const char* text;
        const char* savedAgain;  // null: version 0, which has no property
    } cases[] = {{"7", "7"}, {"not a number", nullptr}, {nullptr, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text != nullptr ? c.text : "absent");
        node_type node;
        node.class_name("Other");
        if (c.text != nullptr) {
            node.set("i_version", c.text);
        }
        PersistenceBase object;
        EXPECT_TRUE(object.deserialize(node));
        EXPECT_TRUE(object.serialize(node));
        EXPECT_EQ(node.is_set("i_version"), c.savedAgain != nullptr);
        EXPECT_EQ(node.get("i_version", ""), c.savedAgain != nullptr ? c.savedAgain : "");
    }
}

}  // namespace
