#include "logger/symbolmap.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/testdirectory.h"

namespace {
int symbolFilesOpened = 0;
}

/** Replaces the C library's and counts. */
extern "C" int open(const char* path, int flags, ...) {
    const std::string_view suffix = "_symbols.txt";
    const std::string_view name = path;
    if (name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix) {
        ++symbolFilesOpened;
    }
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openat(AT_FDCWD, path, flags, mode);
}

namespace {

// A crash report must find it built.
TEST(SymbolMap, IsBuiltBeforeMain) {
    EXPECT_GE(symbolFilesOpened, 1);
}

constexpr char NOT_FOUND[] = "NOT FOUND";

std::string Lookup(const SymbolMap& map, uint32_t address, size_t size = 100) {
    std::vector<char> buffer(size);
    return map.lookup(address, buffer.data(), static_cast<int>(size)) ? buffer.data() : NOT_FOUND;
}

TEST(SymbolMap, FindsTheLineThatCoversAnAddress) {
    const testsupport::TestDirectory directory;
    const std::string longName(200, 'n');
    const struct {
        std::string contents;
        uint32_t address;
        std::string text;
    } cases[] = {
        {"1000 a\n2000 b\n3000 end\n", 0x0fff, NOT_FOUND},
        {"1000 a\n2000 b\n3000 end\n", 0x1000, "1000 a"},
        {"1000 a\n2000 b\n3000 end\n", 0x1fff, "1000 a"},
        {"1000 a\n2000 b\n3000 end\n", 0x2000, "2000 b"},
        {"1000 a\n2000 b\n3000 end\n", 0x3000, NOT_FOUND},
        {"1000 only\n", 0x1000, NOT_FOUND},
        {"", 0x1000, NOT_FOUND},
        {"3000 end\n 0x2000 b\n1000 a\n", 0x2abc, " 0x2000 b"},
        {"1000 a\n2000 end\n1000 later\n", 0x1000, "1000 later"},
        {"name\n1000 end\n", 0x0001, "name"},
        {"1000 a\n2000 unfinished", 0x1000, NOT_FOUND},
        {"1000 a\n2000 b\n100001800 far\n", 0x2900, "2000 b"},
        {"1000 a\n2000 b\nfffffff0 end\n", 0xffffffef, "2000 b"},
        {"1000 a\n2000 " + longName + "\n3000 end\n", 0x2000, ("2000 " + longName).substr(0, 99)},
        {"1000 " + std::string(100'000, 'n') + "\n2000 b\n3000 end\n", 0x2000, "2000 b"},
    };
    for (const auto& c : cases) {
        const SymbolMap map(directory.write("symbols", c.contents));
        EXPECT_EQ(Lookup(map, c.address), c.text) << c.contents.substr(0, 50);
    }
    const SymbolMap map(directory.write("symbols", cases[0].contents));
    EXPECT_EQ(Lookup(map, 0x1000, 1), "");
    std::filesystem::remove(directory.path("symbols"));
    EXPECT_EQ(Lookup(map, 0x1000), NOT_FOUND);
    EXPECT_EQ(Lookup(SymbolMap(directory.path("symbols")), 0x1000), NOT_FOUND);
}

TEST(SymbolMap, DerivesItsPathFromAnExecutableUpToALength) {
    EXPECT_EQ(SymbolFileOf("/usr/bin/tool"), "/usr/bin/tool_symbols.txt");
    EXPECT_EQ(SymbolFileOf(std::string(1011, 'x')).size(), 1023U);
    EXPECT_EQ(SymbolFileOf(std::string(1012, 'x')), "");
    EXPECT_EQ(SymbolFileOf(""), "");
}

}  // namespace
