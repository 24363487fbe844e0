#include "cpputils/include/stringutils.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <tuple>

namespace {

std::string Trimmed(std::string text) {
    EXPECT_EQ(&TrimString(text), &text);
    return text;
}

TEST(TrimString, RemovesItsEightCharactersFromBothEnds) {
    const std::string all = " \a\b\f\n\r\t\v";
    EXPECT_EQ(Trimmed(all + "a" + all + "b" + all), "a" + all + "b");
    EXPECT_EQ(Trimmed(all), "");
    EXPECT_EQ(Trimmed(""), "");
    for (const char c : all) {
        EXPECT_EQ(Trimmed(std::string(1, c) + "x" + c), "x") << static_cast<int>(c);
    }
    const std::string kept = std::string("\0x\x1b", 3) + "\xa0";
    EXPECT_EQ(Trimmed(kept), kept);
}

TEST(NormalizePath, ReducesRunsAndStripsOuterSlashesOnRequest) {
    const struct {
        const char* path;
        const char* normalized;
        const char* stripped;
    } cases[] = {
        {"", "", ""},
        {"/", "/", ""},
        {"//", "/", ""},
        {"a", "a", "a"},
        {"///a///", "/a/", "a"},
        {"a////b//c", "a/b/c", "a/b/c"},
        {"/a/b", "/a/b", "a/b"},
        {"a/b/", "a/b/", "a/b"},
        {"/./", "/./", "."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        std::string path = c.path;
        NormalizePath(path, false);
        EXPECT_EQ(path, c.normalized);
        path = c.path;
        NormalizePath(path, true);
        EXPECT_EQ(path, c.stripped);
    }
}

TEST(IsDirectChild, IsTrueOneLevelDown) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"a/b", "a", true},        {"a/b", "/a/", true},  {"//a//b//", "a", true},
        {"a/b/c", "a/b", true},    {"a", "", true},       {"/a/", "/", true},
        {"a/b/c", "a", false},     {"ab", "a", false},    {"ab/c", "a", false},
        {"a", "a", false},         {"a/", "a", false},    {"a", "a/b", false},
        {"a/b", "", false},        {"", "", false},       {"b/c", "a", false},
        {"a/b/c/d", "a/b", false}, {"abc", "a/b", false},
    };
    for (const auto& [path, directory, isChild] : cases) {
        EXPECT_EQ(IsDirectChild(path, directory), isChild) << path << " in " << directory;
    }
}

TEST(EscapeForUrl, EscapesItsFourteenCharactersOnce) {
    std::string text = "%;?:#&=+$, <>~";
    EscapeForUrl(text);
    EXPECT_EQ(text, "%25%3B%3F%3A%23%26%3D%2B%24%2C%20%3C%3E%7E");
    EscapeForUrl(text);
    EXPECT_EQ(text.substr(0, 10), "%2525%253B");
    text = "/a-b_c.d@e\"'\\\xc3\xa4";
    const std::string before = text;
    EscapeForUrl(text);
    EXPECT_EQ(text, before);
}

TEST(ApplyReplacements, AppliesPairAfterPair) {
    const std::tuple<const char*, Replacements, const char*> cases[] = {
        {"aaa", {}, "aaa"},
        {"aaa", {{"a", "aa"}}, "aaaaaa"},
        {"aaa", {{"aa", "b"}}, "ba"},
        {"abc", {{"a", "b"}, {"b", "c"}, {"c", ""}}, ""},
        {"abc", {{"b", ""}, {"ac", "x"}}, "x"},
        {"abc", {{"", "x"}, {"c", "d"}}, "abd"},
        {"", {{"", "x"}}, ""},
    };
    for (const auto& [text, pairs, result] : cases) {
        EXPECT_EQ(ApplyReplacements(text, pairs), result) << text;
    }
}

TEST(AppendFormat, FillsABufferAndThenWritesNothing) {
    char buffer[] = "..........";
    char* cursor = buffer;
    size_t room = 8;
    AppendFormat(&cursor, &room, "%d-%s", 1, "b");
    EXPECT_EQ(cursor, buffer + 3);
    EXPECT_EQ(room, 5U);
    AppendFormat(&cursor, &room, "%s", "");
    EXPECT_EQ(room, 5U);
    AppendFormat(&cursor, &room, "%s", "12345");
    EXPECT_EQ(cursor, buffer + 8);
    EXPECT_EQ(room, 0U);
    AppendFormat(&cursor, &room, "%s", "more");
    EXPECT_EQ(cursor, buffer + 8);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("1-b1234\0..\0", 11));
}

TEST(AppendFormat, TreatsAFailureAsAFullBuffer) {
    char buffer[8] = "";
    char* cursor = buffer;
    size_t room = sizeof buffer;
    const wchar_t unencodable[] = {0xD800, 0};
    AppendFormat(&cursor, &room, "%ls", unencodable);
    EXPECT_EQ(cursor, std::end(buffer));
    EXPECT_EQ(room, 0U);
}

TEST(CaseCopies, MapLettersOnly) {
    const std::string text = "aZ-9[`{\xe4";
    EXPECT_EQ(ToUpperCopy(text), "AZ-9[`{\xe4");
    EXPECT_EQ(ToLowerCopy(text), "az-9[`{\xe4");
}

}  // namespace
