#include <sstream>
#include <string>

#include "logger/loggerconfig.h"
#include "platform/configuration.h"

namespace {

/** The setting under `key`, or the present one if the key is missing or its value empty. */
template <typename T>
T Setting(const Configuration& configuration, const std::string& key, T present) {
    T value = present;
    std::istringstream stream;
    if (configuration.getValue(key, stream) == 0) {
        stream >> value;
    }
    return value;
}

}  // namespace

void LoggerConfig::load(const Configuration& configuration) {
    setAllThreadLogging(Setting(configuration, "ALL_THREAD_LOGGING", allThreadLogging()));
    setMinLogSeverity(Setting(configuration, "MIN_LOG_SEVERITY", minLogSeverity()));
    setTimeCritMinLogSeverity(
        Setting(configuration, "TIME_CRIT_MIN_LOG_SEVERITY", timeCritMinLogSeverity()));
    setPrintLogThreadId(Setting(configuration, "PRINT_LOG_THREAD_ID", printLogThreadId()));
    setPrintToStdOut(Setting(configuration, "PRINT_TO_STD_OUT", printToStdOut()));
}
