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

/** Result of one run of the tool. */
struct Course {
    /** The errno with which the start failed, or 0. */
    int startError = 0;
    toollog::RunRecord record;
    Ending ending;
    /** The signal that ended the run, or 0. */
    int signal = 0;
    /** The tool was killed before it had finished its work. */
    bool killed = false;
};

/**
 * Decides which signals end a run. Before and after the pages, the first signal does. While pages
 * are sent, ending would leave the controller without a complete image, so it takes two signals
 * within TO_INSIST.
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
 * Runs the tool to its end. Passes on and parses its log, shows the progress, keeps the machine
 * awake while pages are sent, and handles signals. One run at a time; one thread.
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
