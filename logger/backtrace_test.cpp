#include "logger/backtrace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/child.h"

using testing::ContainsRegex;
using testing::Not;
using testsupport::RunInChild;

/** With external linkage, so that its name in the symbol file is plain. */
__attribute__((noinline)) void FunctionOnTheStack(e_LogSeverity severity) {
    LogBacktrace(severity);
    asm volatile("");  // no tail call: the frame must stay
}

namespace {

// A sanitizer adds a frame before the others.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr char OWN_FRAMES[] = "(C: 002 [^\n]*LogBacktrace[^\n]*\n)?";
#else
constexpr char OWN_FRAMES[] = "";
#endif

TEST(Backtrace, NamesTheFunctionsOnTheStack) {
    const std::string ordinary = RunInChild([] { FunctionOnTheStack(e_LogSeverity_ERROR); }).out;
    EXPECT_THAT(
        ordinary,
        ContainsRegex(std::string("^C: 001 S: ERROR T: p:[0-9]+ \"  \\*\\*\\* Backtrace "
                                  "Follows \\*\\*\\*  \" at logger/backtrace.cpp:[0-9]+.\n") +
                      OWN_FRAMES +
                      "C: 00[23] S: ERROR T: p:[0-9]+ \"Address: 0x[0-9a-f]{8}, Symbol: "
                      "0x[0-9a-f]+ T FunctionOnTheStack"));
    EXPECT_THAT(ordinary, ContainsRegex("Symbol: 0x[0-9a-f]+ T main\""));  // all the way

    const std::string crash = RunInChild([] { FunctionOnTheStack(e_LogSeverity_CRASH); }).out;
    EXPECT_THAT(crash, ContainsRegex("^S: \\*\\*\\*\\*\\*CRASH\\*\\*\\*\\*\\* T: p:[0-9]+ "
                                     "\"backtrace\" \n(S: [^\n]*\n)?S: [^\n]*FunctionOnTheStack"));
    EXPECT_THAT(crash, Not(ContainsRegex("C: [0-9]+")));
}

TEST(Backtrace, DoesNotFindOrTruncateAForeignAddress) {
    const auto line = [](uintptr_t number) {
        // An address that no object has. NOLINTNEXTLINE(performance-no-int-to-ptr)
        void* const address = reinterpret_cast<void*>(number);
        return RunInChild([address] { LogSymbol(address, e_LogSeverity_NOTICE); }).out;
    };
    EXPECT_THAT(line(0x10), ContainsRegex("\"Address: 0x00000010, Symbol: NOT FOUND\""));
    // The function's address, and the same with a bit above 32 set.
    const auto known = reinterpret_cast<uintptr_t>(&FunctionOnTheStack);
    EXPECT_THAT(line(known), ContainsRegex("FunctionOnTheStack"));
    EXPECT_THAT(line(known | 1ULL << 32),
                ContainsRegex("\"Address: 0x1[0-9a-f]{8}, Symbol: NOT FOUND\""));
}

}  // namespace
