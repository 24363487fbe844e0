#include "logger/logger.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <iterator>
#include <regex>
#include <string>
#include <thread>

#include "logger/loggerconfig.h"
#include "tests/support/child.h"

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {
std::string* localesAskedFor = nullptr;
}

/** Replaces the C library's; called even before the constructors of this file. */
extern "C" char* setlocale(int category, const char* locale) noexcept {
    if (localesAskedFor == nullptr) {
        localesAskedFor = new std::string;  // NOLINT(bugprone-unhandled-exception-at-new)
    }
    if (locale != nullptr) {
        *localesAskedFor += std::to_string(category) + ' ' + locale + '\n';
    }
    using SetLocale = char* (*)(int, const char*);
    static const auto next = reinterpret_cast<SetLocale>(dlsym(RTLD_NEXT, "setlocale"));
    return next(category, locale);
}

namespace {

/** The output of `body` in a child process, with a new line counter. */
std::string OutputOf(const std::function<void()>& body) {
    return testsupport::RunInChild(body).out;
}

void Log(int severity, const char* text) {
    LogMessage(severity, "function", "dir/file.cpp", 17, "%s", text);
}

void LogBare(int severity, const char* text) {
    LogNoAlloc(severity, "function", "dir/file.cpp", 17, "%s", text);
}

TEST(LogMessage, BuildsTheLine) {
    EXPECT_THAT(OutputOf([] { Log(e_LogSeverity_NOTICE, "hello"); }),
                MatchesRegex("C: 001 S: NOTICE T: p:[0-9]+ \"hello\" at dir/file\\.cpp:17\\.\n"));
    // A newline stays inside the quotes, and the finished line is not a format.
    for (const std::string text : {"Done\n", "%n%s%d 100%"}) {
        EXPECT_THAT(OutputOf([&] { Log(e_LogSeverity_NOTICE, text.c_str()); }),
                    HasSubstr('"' + text + "\" at dir/file.cpp:17.\n"));
    }
    const wchar_t unencodable[] = {0xD800, 0};
    EXPECT_THAT(OutputOf([&] {
                    LogMessage(e_LogSeverity_NOTICE, "function", "dir/file.cpp", 17, "%ls",
                               unencodable);
                }),
                HasSubstr("\"Error in vsnprintf!\" at dir/file.cpp:17.\n"));
}

TEST(LogNoAlloc, DiffersFromLogMessageByTheCounterOnly) {
    const std::string output = OutputOf([] {
        Log(e_LogSeverity_ERROR, "same");
        LogBare(e_LogSeverity_ERROR, "same");
    });
    const size_t newline = output.find('\n');
    ASSERT_NE(newline, std::string::npos);
    EXPECT_EQ(output.substr(0, newline + 1), "C: 001 " + output.substr(newline + 1));
}

TEST(LogFilter, ComparesTheClampedSeverityWithTheThreshold) {
    const struct {
        int minimum;
        int severity;
        const char* word;  // null: no line
    } cases[] = {
        {2, e_LogSeverity_TRACE, nullptr},
        {2, e_LogSeverity_NOTICE, "NOTICE"},
        {2, -1, nullptr},
        {2, 9, nullptr},
        {0, -1, "DEBUG"},
        {0, 9, "DEBUG"},
        {8, e_LogSeverity_EMERGENCY, nullptr},
        {8, e_LogSeverity_CRASH, "*****CRASH*****"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "minimum " << c.minimum << " severity " << c.severity);
        for (const auto log : {Log, LogBare}) {
            const std::string output = OutputOf([&] {
                LoggerConfig::instance()->setMinLogSeverity(c.minimum);
                log(c.severity, "text");
            });
            EXPECT_EQ(output.empty(), c.word == nullptr);
            if (c.word != nullptr) {
                EXPECT_THAT(output, HasSubstr(std::string("S: ") + c.word + " T: "));
                const bool isCrash = c.severity == e_LogSeverity_CRASH;  // has no position
                EXPECT_THAT(output, EndsWith(isCrash ? "\"text\" \n" : ":17.\n"));
            }
        }
    }
}

TEST(LogCounter, StepsOncePerShownLogMessageModuloThousand) {
    const std::string output = OutputOf([] {
        for (int i = 0; i < 999; ++i) {
            Log(e_LogSeverity_NOTICE, "x");
            Log(e_LogSeverity_DEBUG, "filtered");
            LogBare(e_LogSeverity_NOTICE, "bare");
        }
        Log(e_LogSeverity_NOTICE, "last");
    });
    EXPECT_THAT(output, HasSubstr("C: 001 "));
    EXPECT_THAT(output, HasSubstr("C: 999 "));
    EXPECT_THAT(output, ContainsRegex("C: 000 S: NOTICE T: p:[0-9]+ \"last\""));
}

TEST(LogLength, CutsTheMessageInsideItsQuotesAndTheBareLineAsAWhole) {
    const std::string longText(2000, 'm');
    EXPECT_THAT(OutputOf([&] { Log(e_LogSeverity_NOTICE, longText.c_str()); }),
                HasSubstr(" \"" + std::string(1023, 'm') + "\" at dir/file.cpp:17.\n"));
    const std::string bare = OutputOf([&] { LogBare(e_LogSeverity_NOTICE, longText.c_str()); });
    EXPECT_EQ(bare.size(), 1024U);
    EXPECT_THAT(bare, EndsWith("mm\n"));
}

TEST(LogMessage, PreservesErrno) {
    for (const auto log : {Log, LogBare}) {
        EXPECT_THAT(OutputOf([&] {
                        errno = EACCES;
                        log(e_LogSeverity_NOTICE, "x");
                        if (errno == EACCES) {
                            log(e_LogSeverity_NOTICE, "kept");
                        }
                    }),
                    HasSubstr("kept"));
    }
}

TEST(ThreadDescriber, ChoosesTheThresholdAndNamesTheThread) {
    static const ThreadDescriber critical = {
        [] { return true; }, [] { return std::string("FM0 p:1"); },
        [](char* buffer, size_t length) { strncpy(buffer, "FM0 p:1 ", length); }};
    for (const auto log : {Log, LogBare}) {
        const std::string output = OutputOf([&] {
            SetThreadDescriber(&critical);
            log(e_LogSeverity_ERROR, "below");
            log(e_LogSeverity_CRITICAL, "at");
            LoggerConfig::instance()->setAllThreadLogging(true);
            log(e_LogSeverity_NOTICE, "all");
            LoggerConfig::instance()->setPrintLogThreadId(false);
            log(e_LogSeverity_NOTICE, "nameless");
            SetThreadDescriber(nullptr);
            LoggerConfig::instance()->setAllThreadLogging(false);
            log(e_LogSeverity_NOTICE, "plain");
        });
        EXPECT_THAT(output, Not(HasSubstr("below")));
        EXPECT_THAT(output, HasSubstr("S: CRITICAL T: FM0 p:1 \"at\" "));
        EXPECT_THAT(output, HasSubstr("S: NOTICE T: FM0 p:1 \"all\" "));
        EXPECT_THAT(output, HasSubstr("S: NOTICE \"nameless\" "));
        EXPECT_THAT(output, HasSubstr("S: NOTICE \"plain\" "));
    }
}

TEST(LoggerConfig, AsksForItsLocaleBeforeMain) {
    ASSERT_NE(localesAskedFor, nullptr);
    EXPECT_THAT(*localesAskedFor, testing::StartsWith(std::to_string(LC_CTYPE) + " en_US.UTF-8\n"));
}

void ExpectDefaults(const LoggerConfig& config) {
    EXPECT_EQ(config.minLogSeverity(), 2);
    EXPECT_EQ(config.timeCritMinLogSeverity(), 5);
    EXPECT_FALSE(config.allThreadLogging());
    EXPECT_FALSE(config.printToStdOut());
    EXPECT_TRUE(config.printLogThreadId());
}

TEST(LoggerConfig, IgnoresThresholdsOutOfRange) {
    LoggerConfig config;
    config.setMinLogSeverity(9);
    config.setTimeCritMinLogSeverity(-1);
    ExpectDefaults(config);
    config.setMinLogSeverity(8);
    config.setTimeCritMinLogSeverity(0);
    config.setAllThreadLogging(true);
    config.setPrintToStdOut(true);
    config.setPrintLogThreadId(false);
    EXPECT_EQ(config.minLogSeverity(), 8);
    EXPECT_EQ(config.timeCritMinLogSeverity(), 0);
    config.resetToDefaults();
    ExpectDefaults(config);
}

// For the thread sanitizer; in every build, each line must be whole.
TEST(LoggerConfig, MayChangeWhileAnotherThreadLogs) {
    const auto result = testsupport::RunInChild([] {
        std::atomic<bool> ended{false};
        std::thread changer([&] {
            for (bool on = false; !ended; on = !on) {
                LoggerConfig::instance()->setPrintLogThreadId(on);
                LoggerConfig::instance()->setMinLogSeverity(on ? 2 : 0);
                LoggerConfig::instance()->setTimeCritMinLogSeverity(on ? 2 : 0);
                LoggerConfig::instance()->setAllThreadLogging(on);
                LoggerConfig::instance()->setPrintToStdOut(on);
            }
        });
        for (int i = 0; i < 500; ++i) {
            Log(e_LogSeverity_NOTICE, "x");
            LogBare(e_LogSeverity_NOTICE, "x");
        }
        ended = true;
        changer.join();
    });
    const std::regex line(
        "(C: [0-9]{3} )?S: NOTICE (T: p:[0-9]+ )?\"x\" at dir/file\\.cpp:17\\.\n");
    const auto lines = std::sregex_iterator(result.out.begin(), result.out.end(), line);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(std::distance(lines, std::sregex_iterator()), 1000);
}

TEST(SeverityName, IsEmptyOutsideTheList) {
    EXPECT_STREQ(SeverityName(-1), "");
    EXPECT_STREQ(SeverityName(9), "");
    EXPECT_STREQ(SeverityName(7), "EMERGENCY");
}

}  // namespace
