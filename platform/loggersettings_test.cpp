#include <gtest/gtest.h>

#include "logger/loggerconfig.h"
#include "platform/configuration.h"

namespace {

TEST(LoggerSettings, ComeFromTheConfiguration) {
    constexpr int plain = 3;
    constexpr int timeCritical = 6;
    const struct {
        const char* plain;
        const char* timeCritical;
        const char* flag;
        int expectedPlain;
        int expectedTimeCritical;
        bool expectedFlag;
    } cases[] = {
        {"0", "8", "1", 0, 8, true},
        {"9", "99999999999", "0", plain, timeCritical, false},
        {"-1", "7 and more", "0", plain, 7, false},
        {"word", "", "", 0, timeCritical, true},
    };
    LoggerConfig& config = *LoggerConfig::instance();
    for (const auto& c : cases) {
        for (const char* flagKey :
             {"ALL_THREAD_LOGGING", "PRINT_LOG_THREAD_ID", "PRINT_TO_STD_OUT"}) {
            config.setMinLogSeverity(plain);
            config.setTimeCritMinLogSeverity(timeCritical);
            config.setAllThreadLogging(true);
            config.setPrintLogThreadId(true);
            config.setPrintToStdOut(true);
            Configuration settings;
            settings.setValue("MIN_LOG_SEVERITY", c.plain);
            settings.setValue("TIME_CRIT_MIN_LOG_SEVERITY", c.timeCritical);
            settings.setValue(flagKey, c.flag);
            config.load(settings);
            EXPECT_EQ(config.minLogSeverity(), c.expectedPlain);
            EXPECT_EQ(config.timeCritMinLogSeverity(), c.expectedTimeCritical);
            const int flags = (config.allThreadLogging() ? 1 : 0) +
                              (config.printLogThreadId() ? 1 : 0) +
                              (config.printToStdOut() ? 1 : 0);
            EXPECT_EQ(flags, c.expectedFlag ? 3 : 2) << flagKey;
        }
    }
    config.resetToDefaults();
}

}  // namespace
