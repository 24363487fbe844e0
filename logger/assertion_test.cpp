#include "logger/assertion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>

#include "tests/support/child.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace {

std::string LineFor(const std::string& text) {
    return "S: EMERGENCY T: p:[0-9]+ \"Assertion \"" + text +
           "\" failed\\.\" at logger/assertion_test\\.cpp:[0-9]+\\.\n";
}

// In a child whose standard output is not a terminal: the report must survive the abort.
TEST(Assertion, ReportsOnceAndAborts) {
    const struct {
        void (*body)();
        const char* logged;   // regular expression
        const char* library;  // the expression on standard error
    } cases[] = {
        {[] { ASSERT(1 + 1 == 3); }, "1 \\+ 1 == 3", "1 + 1 == 3"},
        {[] {
             const int* pointer = nullptr;
             ASSERT(NULL != pointer);  // NOLINT(modernize-use-nullptr)
         },
         "__null != pointer", "__null != pointer"},
        {[] {
             errno = 0;
             ASSERT(ETIMEDOUT == errno);
         },
         "110 == \\(\\*__errno_location \\(\\)\\)", "110 == (*__errno_location ())"},
        {[] { ASSERT_MESSAGE("no such thing"); }, "\"no such thing\"", "false"},
        {[] { STOP_WITH_REPORT("some words"); }, "some words", "false"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.logged);
        const ChildResult result = RunInChild(c.body);
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_THAT(result.out, MatchesRegex(LineFor(c.logged)));
        EXPECT_THAT(result.err, HasSubstr(std::string("Assertion `") + c.library + "' failed"));
        EXPECT_THAT(result.err, HasSubstr("logger/assertion_test.cpp:"));
    }
}

TEST(Assertion, ContinuesIfEitherEvaluationHolds) {
    const ChildResult result = RunInChild([] {
        int evaluations = 0;
        ASSERT(++evaluations == 1);
        errno = ETIMEDOUT;
        ASSERT(++evaluations == 3 && errno == ETIMEDOUT);
        printf("went on after %d\n", evaluations);
    });
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_THAT(result.out, MatchesRegex(LineFor("\\+\\+evaluations == 3 && "
                                                 "\\(\\*__errno_location \\(\\)\\) == 110") +
                                         "went on after 3\n"));
}

TEST(Assertion, ReportAloneDoesNotStop) {
    const ChildResult result = RunInChild([] { LOG_FAILED_ASSERTION("argc == 3"); });
    EXPECT_EQ(result.exitValue, 0);
    EXPECT_THAT(result.out, MatchesRegex(LineFor("argc == 3")));
}

}  // namespace
