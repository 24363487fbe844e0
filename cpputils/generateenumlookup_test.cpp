#include "cpputils/include/generateenumlookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <ostream>

#include "cpputils/include/textconversion.h"
#include "tests/support/child.h"

using testing::HasSubstr;

// Not in order of value, with gaps, and one name is the beginning of another.
#define TEST_MODES(X)          \
    X(e_TestMode_Long_Tail, 7) \
    X(e_TestMode_Long, 2)      \
    X(e_TestMode_Short, 4)
GENERATE_ENUM(e_TestMode, TEST_MODES)

namespace {

constexpr auto OUTSIDE_THE_LIST = static_cast<e_TestMode>(3);

TEST(EnumConverter, ConvertsEachEnumerator) {
    const struct {
        e_TestMode mode;
        int value;
        const char* name;
    } cases[] = {
        {e_TestMode_Long_Tail, 7, "e_TestMode_Long_Tail"},
        {e_TestMode_Long, 2, "e_TestMode_Long"},
        {e_TestMode_Short, 4, "e_TestMode_Short"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(EnumConverter::EnumToVal(c.mode), c.value);
        EXPECT_STREQ(EnumConverter::EnumToString(c.mode), c.name);
        e_TestMode mode = OUTSIDE_THE_LIST;
        EXPECT_TRUE(EnumConverter::StringToEnum(c.name, &mode));
        EXPECT_EQ(mode, c.mode);
        mode = OUTSIDE_THE_LIST;
        EXPECT_TRUE(EnumConverter::ValToEnum(&mode, static_cast<unsigned>(c.value)));
        EXPECT_EQ(mode, c.mode);
    }
}

TEST(EnumConverter, RefusesValuesAndNamesOutsideTheList) {
    EXPECT_EQ(EnumConverter::EnumToString(OUTSIDE_THE_LIST), nullptr);
    e_TestMode mode = OUTSIDE_THE_LIST;
    for (const char* name : {"e_TestMode_Lon", "e_TestMode_Long_", "E_TESTMODE_LONG", "Long", ""}) {
        EXPECT_FALSE(EnumConverter::StringToEnum(name, &mode)) << name;
    }
    for (const unsigned value : {0U, 3U, 8U, static_cast<unsigned>(-1)}) {
        EXPECT_FALSE(EnumConverter::ValToEnum(&mode, value)) << value;
    }
    EXPECT_EQ(mode, OUTSIDE_THE_LIST);
    const auto result = testsupport::RunInChild([] { EnumConverter::EnumToVal(OUTSIDE_THE_LIST); });
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_THAT(result.out, HasSubstr("S: EMERGENCY "));
    EXPECT_THAT(result.out, HasSubstr("\"Assertion \"false\" failed.\""));
}

struct Unprintable {};
std::ostream& operator<<(std::ostream& out, const Unprintable& /*value*/) {
    out.setstate(std::ios::failbit);
    return out;
}

TEST(TextConversion, WritesDigits) {
    EXPECT_EQ(toString<unsigned>(UINT_MAX), "4294967295");
    EXPECT_EQ(toString<int>(-17), "-17");
    EXPECT_EQ(toString<bool>(true), "1");
    EXPECT_EQ(toString<bool>(false), "0");
    EXPECT_EQ(toString<Unprintable>({}), "CONVERSION_ERROR");
}

TEST(TextConversion, ReadsAsTheExtractionDoes) {
    const struct {
        const char* text;
        unsigned asUnsigned;
        int asInt;
        bool asBool;
    } cases[] = {
        {"0", 0, 0, false},
        {"1", 1, 1, true},
        {" \t2", 2, 2, true},
        {"12 apples", 12, 12, true},
        {"010", 10, 10, true},
        {"-1", UINT_MAX, -1, true},
        {"99999999999999999999", UINT_MAX, INT_MAX, true},
        {"true", 0, 0, false},
        {"x1", 0, 0, false},
        {"", 0, 0, false},
        {"  ", 0, 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.text << '"');
        EXPECT_EQ(fromString<unsigned>(c.text), c.asUnsigned);
        EXPECT_EQ(fromString<int>(c.text), c.asInt);
        EXPECT_EQ(fromString<bool>(c.text), c.asBool);
    }
}

}  // namespace
