#pragma once

#include <chrono>
#include <optional>

#include "companions/operator/run/console.h"
#include "companions/operator/run/inhibitor.h"
#include "companions/operator/run/progress.h"
#include "companions/operator/run/signals.h"
#include "companions/operator/run/toolprocess.h"
#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/runrecord.h"

namespace run {

/** How one run of the tool went. */
struct Course {
    /** The errno for which it didn't start; 0 if it did. */
    int startError = 0;
    toollog::RunRecord record;
    Ending ending;
    /** The signal that put an end to the run; 0 if none did. */
    int signal = 0;
    /** Whether the tool was stopped in the middle of its work. */
    bool killed = false;
};

/**
 * Which signals end a run: before and after the pages the first one; during the pages, where it
 * would leave the controller without an image, a second one within TO_INSIST.
 */
class SignalRule {
  public:
    using Clock = std::chrono::steady_clock;

    explicit SignalRule(bool interruptible) : i_interruptible(interruptible) {}

    /** True: end the run. False: warn, and go on. */
    bool ends(bool duringPages, Clock::time_point now);

    static constexpr std::chrono::seconds TO_INSIST{10};

  private:
    const bool i_interruptible;
    std::optional<Clock::time_point> i_warned;
};

/**
 * Runs the tool to its end: passes its log on, learns from it, shows the progress, keeps the
 * machine awake during the pages, and obeys the signals. One run at a time; one thread.
 */
class Supervisor {
  public:
    enum e_Log {
        e_Log_Shown,
        e_Log_Hidden,
    };

    Supervisor(const RunSettings& settings, Signals& signals, Console& console, Progress& progress);

    Course run(const Command& command, e_Log log);

  private:
    void watch(ToolProcess& tool, toollog::LogReader& reader, Course& course);
    void takeOutput(ToolProcess& tool, toollog::LogReader& reader);
    void takeSignal(ToolProcess& tool, Course& course, int signal);

    Signals& i_signals;
    Console& i_console;
    Progress& i_progress;
    SignalRule i_rule;
    Inhibitor i_inhibitor;
    e_Log i_log = e_Log_Shown;
};

}  // namespace run
