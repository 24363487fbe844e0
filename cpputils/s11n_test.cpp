#include "cpputils/include/s11n.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

using s11n::s11n_node;

namespace {

using SerializerPtr = std::unique_ptr<s11n::io::serializer>;

SerializerPtr MakeSerializer(const std::string& name) {
    return SerializerPtr(s11n::fac::factory_mgr<s11n::io::serializer>::instance().create(name));
}

std::unique_ptr<s11n_node> Read(const SerializerPtr& serializer, const std::string& text) {
    std::istringstream stream(text);
    return std::unique_ptr<s11n_node>(serializer->deserialize(stream));
}

std::string AllBytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/** The whole tree as one text, which differs for different trees. */
std::string Dump(const s11n_node& node) {
    std::ostringstream text;
    const auto add = [&text](const std::string& part) {
        text << part.size() << '<' << part << '>';
    };
    add(node.name());
    add(node.class_name());
    for (const auto& [key, value] : node.properties()) {
        add(key);
        add(value);
    }
    text << '(';
    for (const s11n_node* child : node.children()) {
        text << Dump(*child);
    }
    text << ')';
    return text.str();
}

s11n_node* AddChild(s11n_node& parent, const std::string& name) {
    parent.children().push_back(new s11n_node(name));
    return parent.children().back();
}

s11n_node AwkwardTree() {
    s11n_node root("root");
    root.class_name("a::b<c>");
    root.set("plain", "value");
    root.set("empty", "");
    root.set("markup", "<a b=\"c\">&amp;&#x3C;'</a> />\n\t ");
    root.set("", "empty key");
    root.set("s11n_class", "a property, not the class");
    root.set("_x20_", "looks escaped");
    root.set("__x", "_x");
    root.set(AllBytes(), AllBytes());
    AddChild(root, "")->class_name(AllBytes());
    s11n_node* const child = AddChild(root, AllBytes());
    AddChild(*child, "9 lives")->set("9", "9:9");
    AddChild(*child, "_x_");
    AddChild(*child, "-");
    return root;
}

s11n_node TreeOfDepth(int depth) {
    s11n_node root;
    s11n_node* node = &root;
    for (int i = 1; i < depth; ++i) {
        node = AddChild(*node, "n");
    }
    return root;
}

class SerializerTest : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(S11N, SerializerTest, testing::Values("simplexml", "compact"));

TEST_P(SerializerTest, ReadsBackItsOutput) {
    const SerializerPtr serializer = MakeSerializer(GetParam());
    for (const s11n_node& tree :
         {AwkwardTree(), s11n_node(), TreeOfDepth(s11n::io::serializer::MaxDepth)}) {
        std::ostringstream stream;
        ASSERT_TRUE(serializer->serialize(tree, stream));
        EXPECT_EQ(stream.str().substr(0, stream.str().find('\n')), serializer->magic_cookie());
        const std::unique_ptr<s11n_node> read = Read(serializer, stream.str());
        ASSERT_NE(read, nullptr) << stream.str();
        EXPECT_EQ(Dump(*read), Dump(tree));
    }
}

TEST_P(SerializerTest, RefusesEveryCutFile) {
    const SerializerPtr serializer = MakeSerializer(GetParam());
    std::ostringstream stream;
    ASSERT_TRUE(serializer->serialize(AwkwardTree(), stream));
    const std::string whole = stream.str();
    const size_t needed = whole.find_last_not_of('\n') + 1;  // a final newline may be missing
    for (size_t length = 0; length < needed; ++length) {
        EXPECT_EQ(Read(serializer, whole.substr(0, length)), nullptr) << length;
    }
}

TEST_P(SerializerTest, RefusesATreeThatIsTooDeepAndABrokenStream) {
    const SerializerPtr serializer = MakeSerializer(GetParam());
    std::ostringstream stream;
    EXPECT_FALSE(serializer->serialize(TreeOfDepth(s11n::io::serializer::MaxDepth + 1), stream));
    stream.setstate(std::ios::badbit);
    EXPECT_FALSE(serializer->serialize(s11n_node(), stream));
}

TEST(Serializers, RefuseMalformedText) {
    const std::string xml = "<!DOCTYPE s11n::simplexml>\n";
    const std::string compact = "51191011\n";
    std::string deep = xml;
    for (int i = 0; i <= s11n::io::serializer::MaxDepth; ++i) {
        deep += "<n>";
    }
    const std::pair<const char*, std::string> cases[] = {
        {"simplexml", "<!DOCTYPE other>\n<a />"},
        {"simplexml", xml},
        {"simplexml", xml + "a />"},
        {"simplexml", xml + "<a k />"},
        {"simplexml", xml + "<a k=v />"},
        {"simplexml", xml + "<a k=\"&#x4;\" />"},
        {"simplexml", xml + "<a k=\"&#xZZ;\" />"},
        {"simplexml", xml + "<a _x4_=\"\" />"},
        {"simplexml", xml + "<_xq></_xq>"},
        {"simplexml", xml + "<a></b>"},
        {"simplexml", xml + "<a>text</a>"},
        {"simplexml", deep},
        {"compact", "51191012\n1:a0:0:0:"},
        {"compact", compact + "1:a0:0:"},
        {"compact", compact + "-1:a0:0:0:"},
        {"compact", compact + ":a0:0:0:"},
        {"compact", compact + "99999999999999999999:a0:0:0:"},
        {"compact", compact + "999999999999999999:a"},
        {"compact", compact + "1:a0:999999999999999999:1:k1:v"},
    };
    for (const auto& [serializer, text] : cases) {
        EXPECT_EQ(Read(MakeSerializer(serializer), text), nullptr) << text;
    }
}

TEST(Serializers, SimplexmlIsReadable) {
    s11n_node root("options");
    root.class_name("Options");
    root.set("numABU", "<3>");
    AddChild(root, "port")->class_name("Port");
    std::ostringstream stream;
    ASSERT_TRUE(MakeSerializer("simplexml")->serialize(root, stream));
    EXPECT_EQ(stream.str(),
              "<!DOCTYPE s11n::simplexml>\n"
              "<options s11n_class=\"Options\" numABU=\"&#x3C;3&#x3E;\">\n"
              "  <port s11n_class=\"Port\" />\n"
              "</options>\n");
}

TEST(S11NNode, HoldsPropertiesAndCopiesItsTree) {
    s11n_node node = AwkwardTree();
    EXPECT_EQ(node.get("plain", "default"), "value");
    EXPECT_EQ(node.get("absent", "default"), "default");
    node.set("plain", "other");
    EXPECT_EQ(node.get("plain", ""), "other");
    node.unset("plain");
    node.unset("absent");
    EXPECT_FALSE(node.is_set("plain"));

    const std::string before = Dump(node);
    s11n_node copy(node);
    s11n_node assigned("old");
    AddChild(assigned, "old");
    assigned = node;
    AddChild(*node.children().back(), "late");
    EXPECT_EQ(Dump(copy), before);
    EXPECT_EQ(Dump(assigned), before);
    copy = *copy.children().back();
    EXPECT_EQ(copy.name(), AllBytes());
}

TEST(Serializers, AreKnownByAliasClassNameAndCookie) {
    const struct {
        const char *alias, *className, *lexer, *cookie;
    } cases[] = {
        {"simplexml", "s11n::io::simplexml_serializer", "simplexml_data_nodeFlexLexer",
         "<!DOCTYPE s11n::simplexml>"},
        {"compact", "s11n::io::compact_serializer", "compact_data_nodeFlexLexer", "51191011"},
    };
    for (const auto& c : cases) {
        for (const char* name : {c.alias, c.className, c.cookie}) {
            const SerializerPtr serializer = MakeSerializer(name);
            ASSERT_NE(serializer, nullptr) << name;
            EXPECT_EQ(serializer->class_name(), c.className);
            EXPECT_EQ(serializer->lexer_name(), c.lexer);
            EXPECT_EQ(serializer->magic_cookie(), c.cookie);
        }
    }
}

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

// Registered by other units: this one includes no header that registers them.
TEST(FactoryManager, KnowsTheBasicTypes) {
    ExpectFactory<bool>("bool");
    ExpectFactory<int>("int");
    ExpectFactory<unsigned int>("uint");
    ExpectFactory<float>("float");
    ExpectFactory<std::string>("string");
    EXPECT_FALSE(s11n::fac::factory_mgr<int>::instance().provides("uint"));
}

TEST(FactoryManager, TakesTheLaterOfTwoRegistrations) {
    auto& factories = s11n::fac::factory_mgr<long>::instance();
    factories.register_factory("long", [] { return new long(1); });
    factories.register_factory("long", [] { return new long(2); });
    const std::unique_ptr<long> made(factories.create("long"));
    EXPECT_EQ(*made, 2);
}

}  // namespace
