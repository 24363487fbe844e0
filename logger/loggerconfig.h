#pragma once

#include <atomic>

class Configuration;

/**
 * The settings of the logger, one object for the process, built before main. Its constructor also
 * sets the locale of LC_CTYPE to en_US.UTF-8 if the machine has it.
 *
 * Any thread may read or change it at any time. Each setting is atomic by itself, and relaxed:
 * nothing else is published through it.
 */
class LoggerConfig {
  public:
    LoggerConfig();
    virtual ~LoggerConfig() = default;
    LoggerConfig(const LoggerConfig&) = delete;
    LoggerConfig& operator=(const LoggerConfig&) = delete;

    static LoggerConfig* instance();

    /** The lowest severity shown, 0 to 8; anything else is ignored. */
    void setMinLogSeverity(int severity);
    /** The same for time-critical threads, unless all threads log alike. */
    void setTimeCritMinLogSeverity(int severity);
    void setAllThreadLogging(bool on);
    /** Whether a line shows its thread. */
    void setPrintLogThreadId(bool on);
    /** Stored only: the sink is always standard output. */
    void setPrintToStdOut(bool on);

    /** NOTICE, CRITICAL for time-critical threads, the thread shown, everything else off. */
    void resetToDefaults();
    /**
     * Takes the settings from the default section: ALL_THREAD_LOGGING, MIN_LOG_SEVERITY,
     * TIME_CRIT_MIN_LOG_SEVERITY, PRINT_LOG_THREAD_ID and PRINT_TO_STD_OUT. A missing key, an empty
     * value and a severity out of range leave the field as it is. Text that is not a number counts
     * as 0. Defined in the target of Configuration.
     */
    void load(const Configuration& configuration);

    int timeCritMinLogSeverity() const { return i_timeCritMinLogSeverity.load(RELAXED); }
    int minLogSeverity() const { return i_minLogSeverity.load(RELAXED); }
    bool allThreadLogging() const { return i_allThreadLogging.load(RELAXED); }
    bool printLogThreadId() const { return i_printLogThreadId.load(RELAXED); }
    bool printToStdOut() const { return i_printToStdOut.load(RELAXED); }

  private:
    static constexpr std::memory_order RELAXED = std::memory_order_relaxed;

    std::atomic<int> i_timeCritMinLogSeverity;
    std::atomic<int> i_minLogSeverity;
    std::atomic<bool> i_allThreadLogging;
    std::atomic<bool> i_printLogThreadId;
    std::atomic<bool> i_printToStdOut;
};
