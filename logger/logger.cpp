#include "logger/logger.h"

#include <pthread.h>
#include <syslog.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "logger/loggerconfig.h"

namespace {

constexpr size_t LINE_SIZE = 1024;
constexpr int COUNTER_MODULUS = 1000;

/** Restores errno at the end of the scope, because the caller may still want to read it. */
class ErrnoKeeper {
  public:
    ErrnoKeeper() : i_errno(errno) {}
    ~ErrnoKeeper() { errno = i_errno; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

  private:
    int i_errno;
};

bool NeverCritical() {
    return false;
}

constexpr ThreadDescriber PLAIN_THREAD = {NeverCritical, DescribePlainThread,
                                          DescribePlainThreadNoAlloc};

// Set with release and read with acquire: a thread that sees a describer also sees the registry
// that it uses.
std::atomic<const ThreadDescriber*> threadDescriber{&PLAIN_THREAD};

// Two threads may show the same number. The counter is atomic only to avoid a data race.
std::atomic<int> lineCounter{0};

const ThreadDescriber& CurrentDescriber() {
    return *threadDescriber.load(std::memory_order_acquire);
}

int ClampSeverity(int severity) {
    return severity < e_LogSeverity_DEBUG || severity > e_LogSeverity_CRASH ? e_LogSeverity_DEBUG
                                                                            : severity;
}

bool IsShown(int severity) {
    const LoggerConfig& config = *LoggerConfig::instance();
    const bool critical = CurrentDescriber().isCritical() && !config.allThreadLogging();
    return (critical ? config.timeCritMinLogSeverity() : config.minLogSeverity()) <= severity;
}

int NextCount() {
    const int count = (lineCounter.load(std::memory_order_relaxed) + 1) % COUNTER_MODULUS;
    lineCounter.store(count, std::memory_order_relaxed);
    return count;
}

/** At least three digits. */
std::string Counter(int count) {
    const std::string digits = std::to_string(count);
    return digits.size() < 3 ? std::string(3 - digits.size(), '0') + digits : digits;
}

/** A line in a fixed buffer that is cut, never overrun, and zero-terminated at each step. */
class FixedLine {
  public:
    void append(const char* format, ...) __attribute__((format(printf, 2, 3))) {
        va_list arguments;
        va_start(arguments, format);
        appendV(format, arguments);
        va_end(arguments);
    }

    void appendV(const char* format, va_list arguments) __attribute__((format(printf, 2, 0))) {
        // vsnprintf returns the length that was needed, not the length that was stored.
        (void)vsnprintf(end(), room(), format, arguments);
        terminate();
    }

    void appendThread() {
        CurrentDescriber().describeNoAlloc(end(), room());
        terminate();
    }

    const char* text() const { return i_text; }

  private:
    char* end() { return i_text + i_length; }
    size_t room() const { return LINE_SIZE - i_length; }
    void terminate() {
        i_text[LINE_SIZE - 1] = '\0';
        i_length += strlen(end());
    }

    char i_text[LINE_SIZE] = "";
    size_t i_length = 0;
};

}  // namespace

const char* SeverityName(int severity) {
    switch (severity) {
#define LOG_SEVERITY_WORD(name, value, word) \
    case value:                              \
        return word;
        LOG_SEVERITIES(LOG_SEVERITY_WORD)
#undef LOG_SEVERITY_WORD
        default:
            return "";
    }
}

void LogMessage(int severity, const char* /*function*/, const char* file, unsigned line,
                const char* format, ...) {
    severity = ClampSeverity(severity);
    if (!IsShown(severity)) {
        return;
    }
    const ErrnoKeeper keeper;

    char message[LINE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    const int wanted = vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);

    // A string is faster than a stream, and the transfer waits for this line.
    std::string text = "C: " + Counter(NextCount()) + " S: " + SeverityName(severity) + ' ';
    if (LoggerConfig::instance()->printLogThreadId()) {
        text.append("T: ").append(CurrentDescriber().describe()).append(" ");
    }
    text.append("\"").append(wanted < 0 ? "Error in vsnprintf!" : message).append("\" ");
    if (severity != e_LogSeverity_CRASH) {
        text.append("at ").append(file).append(":").append(std::to_string(line)).append(".");
    }
    LogOutput(severity, text.c_str());
}

void LogNoAlloc(int severity, const char* /*function*/, const char* file, unsigned line,
                const char* format, ...) {
    severity = ClampSeverity(severity);
    if (!IsShown(severity)) {
        return;
    }
    const ErrnoKeeper keeper;

    FixedLine text;
    text.append("S: %s ", SeverityName(severity));
    if (LoggerConfig::instance()->printLogThreadId()) {
        text.append("T: ");
        text.appendThread();
    }
    text.append("\"");
    va_list arguments;
    va_start(arguments, format);
    text.appendV(format, arguments);
    va_end(arguments);
    text.append("\" ");
    if (severity != e_LogSeverity_CRASH) {
        text.append("at %s:%u.", file, line);
    }
    LogOutput(severity, text.text());
}

void LogOutput(int /*severity*/, const char* text) {
    ConsolePrintf("%s\n", text);
}

void ConsolePrintf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
}

void SyslogWrite(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

void SetThreadDescriber(const ThreadDescriber* describer) {
    threadDescriber.store(describer != nullptr ? describer : &PLAIN_THREAD,
                          std::memory_order_release);
}

std::string DescribePlainThread() {
    return "p:" + std::to_string(pthread_self());
}

void DescribePlainThreadNoAlloc(char* buffer, size_t length) {
    (void)snprintf(buffer, length, "p:%lu ", pthread_self());
}
