#pragma once

#include "logger/logger.h"

/**
 * Logs that the assertion with this text failed, at EMERGENCY with the position of the caller. It
 * reports and returns: for the few places that end in order after the report.
 */
#define LOG_FAILED_ASSERTION(text) LOG_NO_ALLOC(EMERGENCY, "Assertion \"%s\" failed.", text)

/** The end of a failed assertion: flushes standard output, then the C library's report and abort.
 */
[[noreturn, gnu::cold]] void StopOnFailedAssertion(const char* text, const char* file,
                                                   unsigned line, const char* function);

/**
 * The assertion of the whole system, active in every build type: programming errors and system
 * calls that must not fail.
 *
 * A failing expression is logged and then evaluated a second time; only if it fails again does the
 * process stop. An expression with effects, such as a lock, is thus repeated, and a success of the
 * second evaluation lets the run go on. The expression may read errno both times.
 *
 * The text in the report is the expression with its macros expanded (NULL shows as __null), which
 * is why the expression passes through ASSERTION_TEXT before it is made a string.
 */
#define ASSERT(...)                                                                    \
    do {                                                                               \
        if (__builtin_expect(!(__VA_ARGS__), 0)) {                                     \
            LOG_FAILED_ASSERTION(ASSERTION_TEXT(__VA_ARGS__));                         \
            if (!(__VA_ARGS__)) {                                                      \
                StopOnFailedAssertion(ASSERTION_TEXT(__VA_ARGS__), __FILE__, __LINE__, \
                                      __PRETTY_FUNCTION__);                            \
            }                                                                          \
        }                                                                              \
    } while (false)

/**
 * The assertion with a message in place of an expression: always fails. `message` is a string
 * literal and keeps its quotes in the report.
 */
#define ASSERT_MESSAGE(message) STOP_WITH_REPORT(#message)

/** Logs `text` as the failed assertion and stops on the expression "false", with no second test. */
#define STOP_WITH_REPORT(text)                                                   \
    do {                                                                         \
        LOG_FAILED_ASSERTION(text);                                              \
        StopOnFailedAssertion("false", __FILE__, __LINE__, __PRETTY_FUNCTION__); \
    } while (false)

#define ASSERTION_TEXT(...) #__VA_ARGS__
