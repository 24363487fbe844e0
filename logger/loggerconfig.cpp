#include "logger/loggerconfig.h"

#include <clocale>

#include "logger/logger.h"

namespace {

constexpr int DefaultTimeCritMinLogSeverity = e_LogSeverity_CRITICAL;
constexpr int DefaultMinLogSeverity = e_LogSeverity_NOTICE;
constexpr bool DefaultAllThreadLogging = false;
constexpr bool DefaultPrintLogThreadId = true;
constexpr bool DefaultPrintToStdOut = false;

bool IsSeverity(int value) {
    return value >= e_LogSeverity_DEBUG && value <= e_LogSeverity_CRASH;
}

LoggerConfig loggerConfig;

}  // namespace

LoggerConfig::LoggerConfig()
    : i_timeCritMinLogSeverity(DefaultTimeCritMinLogSeverity),
      i_minLogSeverity(DefaultMinLogSeverity),
      i_allThreadLogging(DefaultAllThreadLogging),
      i_printLogThreadId(DefaultPrintLogThreadId),
      i_printToStdOut(DefaultPrintToStdOut) {
    setlocale(LC_CTYPE, "en_US.UTF-8");
}

LoggerConfig* LoggerConfig::instance() {
    return &loggerConfig;
}

void LoggerConfig::setMinLogSeverity(int severity) {
    if (IsSeverity(severity)) {
        i_minLogSeverity = severity;
    }
}

void LoggerConfig::setTimeCritMinLogSeverity(int severity) {
    if (IsSeverity(severity)) {
        i_timeCritMinLogSeverity = severity;
    }
}

void LoggerConfig::setAllThreadLogging(bool on) {
    i_allThreadLogging = on;
}

void LoggerConfig::setPrintLogThreadId(bool on) {
    i_printLogThreadId = on;
}

void LoggerConfig::setPrintToStdOut(bool on) {
    i_printToStdOut = on;
}

void LoggerConfig::resetToDefaults() {
    setTimeCritMinLogSeverity(DefaultTimeCritMinLogSeverity);
    setMinLogSeverity(DefaultMinLogSeverity);
    setAllThreadLogging(DefaultAllThreadLogging);
    setPrintLogThreadId(DefaultPrintLogThreadId);
    setPrintToStdOut(DefaultPrintToStdOut);
}
