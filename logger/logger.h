#pragma once

#include <string>

/**
 * Severities of a report. A threshold compares the number, and a line shows the word: X(name,
 * value, word).
 */
#define LOG_SEVERITIES(X)        \
    X(DEBUG, 0, "DEBUG")         \
    X(TRACE, 1, "TRACE")         \
    X(NOTICE, 2, "NOTICE")       \
    X(WARNING, 3, "WARNING")     \
    X(ERROR, 4, "ERROR")         \
    X(CRITICAL, 5, "CRITICAL")   \
    X(ALERT, 6, "ALERT")         \
    X(EMERGENCY, 7, "EMERGENCY") \
    X(CRASH, 8, "*****CRASH*****")

/** The underlying type is int so that a number outside the list can be passed and clamped. */
enum e_LogSeverity : int {
#define LOG_SEVERITY_ENUMERATOR(name, value, word) e_LogSeverity_##name = value,
    LOG_SEVERITIES(LOG_SEVERITY_ENUMERATOR)
#undef LOG_SEVERITY_ENUMERATOR
};

/** The word of a severity; "" for a number outside the list. */
const char* SeverityName(int severity);

/**
 * Writes one report line to standard output if its severity passes the filter:
 *
 *     C: 042 S: NOTICE T: p:777 "message" at file:line.
 *
 * The counter counts only the lines of this function, modulo 1000. The thread is left out if
 * LoggerConfig says so, and a CRASH line ends after the quotes. A message is cut at 1023 bytes; a
 * newline at its end stays inside the quotes. A severity outside 0 to 8 counts as DEBUG. A
 * suppressed line allocates nothing. Any thread may call it; errno is preserved.
 */
void LogMessage(int severity, const char* function, const char* file, unsigned line,
                const char* format, ...) __attribute__((format(printf, 5, 6)));

/**
 * As LogMessage, for assertions and crash reports: one stack buffer, no heap, no counter. The whole
 * line is cut at 1023 bytes. Marked cold, so that on a hot path an assertion costs only its test.
 */
void LogNoAlloc(int severity, const char* function, const char* file, unsigned line,
                const char* format, ...) __attribute__((format(printf, 5, 6), cold));

/** Passes a finished line to the sink. The severity is not used. */
void LogOutput(int severity, const char* text);

/** vprintf without a flush: each main makes standard output line-buffered or unbuffered. */
void ConsolePrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

/** vsyslog: the second sink, which nothing selects. */
void SyslogWrite(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

/**
 * The logger's questions about the calling thread. The registry of threads answers them; without a
 * registry every thread is a plain thread. Any thread may call the three functions at any time.
 */
struct ThreadDescriber {
    /** True for a thread with the time-critical threshold. */
    bool (*isCritical)();
    /** The thread's description, without a trailing blank. */
    std::string (*describe)();
    /** The same in at most `length` bytes, zero-terminated, with a trailing blank. Uses no heap. */
    void (*describeNoAlloc)(char* buffer, size_t length);
};

/** Sets the describer, which must outlive its use. Null restores plain threads. */
void SetThreadDescriber(const ThreadDescriber* describer);

/**
 * The calling thread as a plain thread: "p:" and its handle in decimal. The two forms are those of
 * ThreadDescriber.
 */
std::string DescribePlainThread();
void DescribePlainThreadNoAlloc(char* buffer, size_t length);

#define LOG_MESSAGE(severity, ...) \
    LogMessage(e_LogSeverity_##severity, __PRETTY_FUNCTION__, __FILE__, __LINE__, __VA_ARGS__)
#define LOG_NO_ALLOC(severity, ...) \
    LogNoAlloc(e_LogSeverity_##severity, __PRETTY_FUNCTION__, __FILE__, __LINE__, __VA_ARGS__)
