#include "logger/loggerconfig.h"

#include <clocale>

#include "logger/logger.h"

namespace {

constexpr int DEFAULT_TIME_CRIT_MIN_LOG_SEVERITY = e_LogSeverity_CRITICAL;
constexpr int DEFAULT_MIN_LOG_SEVERITY = e_LogSeverity_NOTICE;
constexpr bool DEFAULT_ALL_THREAD_LOGGING = false;
constexpr bool DEFAULT_PRINT_LOG_THREAD_ID = true;
constexpr bool DEFAULT_PRINT_TO_STD_OUT = false;

bool IsSeverity(int value) {
    return value >= e_LogSeverity_DEBUG && value <= e_LogSeverity_CRASH;
}

LoggerConfig loggerConfig;

}  // namespace

LoggerConfig::LoggerConfig()
    : i_timeCritMinLogSeverity(DEFAULT_TIME_CRIT_MIN_LOG_SEVERITY),
      i_minLogSeverity(DEFAULT_MIN_LOG_SEVERITY),
      i_allThreadLogging(DEFAULT_ALL_THREAD_LOGGING),
      i_printLogThreadId(DEFAULT_PRINT_LOG_THREAD_ID),
      i_printToStdOut(DEFAULT_PRINT_TO_STD_OUT) {
    setlocale(LC_CTYPE, "en_US.UTF-8");
}

LoggerConfig* LoggerConfig::instance() {
    return &loggerConfig;
}

void LoggerConfig::setMinLogSeverity(int severity) {
    if (IsSeverity(severity)) {
        i_minLogSeverity.store(severity, RELAXED);
    }
}

void LoggerConfig::setTimeCritMinLogSeverity(int severity) {
    if (IsSeverity(severity)) {
        i_timeCritMinLogSeverity.store(severity, RELAXED);
    }
}

void LoggerConfig::setAllThreadLogging(bool on) {
    i_allThreadLogging.store(on, RELAXED);
}

void LoggerConfig::setPrintLogThreadId(bool on) {
    i_printLogThreadId.store(on, RELAXED);
}

void LoggerConfig::setPrintToStdOut(bool on) {
    i_printToStdOut.store(on, RELAXED);
}

void LoggerConfig::resetToDefaults() {
    setTimeCritMinLogSeverity(DEFAULT_TIME_CRIT_MIN_LOG_SEVERITY);
    setMinLogSeverity(DEFAULT_MIN_LOG_SEVERITY);
    setAllThreadLogging(DEFAULT_ALL_THREAD_LOGGING);
    setPrintLogThreadId(DEFAULT_PRINT_LOG_THREAD_ID);
    setPrintToStdOut(DEFAULT_PRINT_TO_STD_OUT);
}
