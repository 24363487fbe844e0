#pragma once

#include "logger/logger.h"

/**
 * Logs at EMERGENCY, with the caller's position, that the assertion with this text failed, and
 * returns. For the few places that must end in an orderly way after the report.
 */
#define LOG_FAILED_ASSERTION(text) LOG_NO_ALLOC(EMERGENCY, "Assertion \"%s\" failed.", text)

/**
 * Ends a failed assertion: flushes standard output, then calls the C library's report, which
 * aborts.
 */
[[noreturn, gnu::cold]] void StopOnFailedAssertion(const char* text, const char* file,
                                                   unsigned line, const char* function);

/**
 * The system's assertion, active in every build type. It is for programming errors and for system
 * calls that must not fail.
 *
 * A failing expression is logged and then evaluated again; the process stops only if it fails
 * again. An expression with side effects, such as taking a lock, is therefore repeated. If it
 * succeeds the second time, the run continues. Both evaluations see the same errno.
 *
 * The report shows the expression with its macros expanded, such as __null for NULL, because the
 * expression passes through ASSERTION_TEXT before it becomes a string.
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
 * An assertion that always fails, with a message in place of an expression. `message` is a string
 * literal and keeps its quotes in the report.
 */
#define ASSERT_MESSAGE(message) STOP_WITH_REPORT(#message)

/**
 * Logs `text` as the failed assertion and stops on the expression "false". Evaluates nothing.
 */
#define STOP_WITH_REPORT(text)                                                   \
    do {                                                                         \
        LOG_FAILED_ASSERTION(text);                                              \
        StopOnFailedAssertion("false", __FILE__, __LINE__, __PRETTY_FUNCTION__); \
    } while (false)

#define ASSERTION_TEXT(...) #__VA_ARGS__
