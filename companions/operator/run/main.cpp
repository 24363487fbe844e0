/**
 * tolmira_run: supervises the unchanged tool for people and scripts. An upgrade can't be
 * interrupted by accident, and success is reported only if the mailbox confirms it.
 */
#include <unistd.h>

#include <chrono>

#include "companions/commandline/commandline.h"
#include "companions/operator/run/console.h"
#include "companions/operator/run/outcome.h"
#include "companions/operator/run/progress.h"
#include "companions/operator/run/report.h"
#include "companions/operator/run/reportfile.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/signals.h"
#include "companions/operator/run/supervisedrun.h"
#include "cpputils/include/standarddescriptors.h"

namespace run {

namespace {

/** One run from its command line to its report. */
class RunSession {
  public:
    explicit RunSession(const RunSettings& settings)
        : i_settings(settings),
          i_start(TimeText()),
          i_started(Clock::now()),
          i_console(settings.quiet, settings.reportOnOutput(), settings.journal),
          i_progress(settings, i_console) {}

    /** Returns the exit value. */
    int run() {
        if (!prepareReport()) {
            return ExitValueOf(i_outcome, i_settings);
        }
        SupervisedRun supervised(i_settings, i_signals, i_console, i_progress,
                                 {getpid(), i_start, i_report.path()});
        i_outcome = supervised.perform();
        // Before the closing line, which may wait for a slow reader of the log.
        writeReport();
        supervised.close();
        return finish();
    }

    /** Writes only the report, after wrong usage was reported. Returns the exit value. */
    int refuse() {
        i_outcome.cause = toollog::e_Cause_WrongUsage;
        if (prepareReport()) {
            writeReport();
        }
        const int exitValue = ExitValueOf(i_outcome, i_settings);
        (void)i_console.finish(i_signals);
        return exitValue;
    }

  private:
    bool prepareReport() {
        const std::string& file = i_settings.reportFile;
        if (file.empty() || i_settings.reportOnOutput() || i_report.prepare(file, inputs())) {
            return true;
        }
        i_outcome.cause = toollog::e_Cause_CannotReport;
        i_outcome.happened = "cannot write the report " + file + ": " + i_report.error();
        (void)finish();
        return false;
    }

    std::vector<std::string> inputs() const {
        return {i_settings.operands.image, i_settings.operands.configuration, i_settings.tool,
                i_settings.digestFile.value_or(""), RunLock::FILE_NAME};
    }

    void writeReport() {
        const std::chrono::duration<double> seconds = Clock::now() - i_started;
        const std::string text = ReportOf(i_settings, i_outcome, ExitValueOf(i_outcome, i_settings),
                                          {i_start, TimeText(), seconds.count()});
        if (i_settings.reportOnOutput()) {
            i_console.output(text);
        } else if (!i_settings.reportFile.empty() && !i_report.write(text)) {
            i_console.error("cannot write the report " + i_settings.reportFile + ": " +
                            i_report.error() + "; an existing report is unchanged");
        }
    }

    /** Prints the closing line and waits for the rest of the log. Returns the exit value. */
    int finish() {
        const int exitValue = ExitValueOf(i_outcome, i_settings);
        i_progress.end(toollog::CAUSE_ROWS[i_outcome.cause].words, exitValue);
        const std::string line = HappenedText(i_outcome) + "; " + NextStepOf(i_outcome);
        i_console.close(line, toollog::CAUSE_ROWS[i_outcome.cause].words,
                        !i_outcome.tool && exitValue != 0);
        const int signal = i_console.finish(i_signals);
        i_progress.finish();
        return signal == 0 ? exitValue : SIGNAL_OFFSET + signal;
    }

    using Clock = std::chrono::steady_clock;

    const RunSettings& i_settings;
    const std::string i_start;
    const Clock::time_point i_started;
    /** Before the members that start threads. */
    Signals i_signals;
    Console i_console;
    Progress i_progress;
    ReportFile i_report;
    Outcome i_outcome;
};

}  // namespace

}  // namespace run

// On std::bad_alloc the program may terminate.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    unsetenv("POSIXLY_CORRECT");  // it would change the order in which the tool finds its options
    int exitValue = 0;
    std::string reportFile;
    const auto settings = run::ReadCommandLine(argc, argv, exitValue, reportFile);
    if (settings) {
        return run::RunSession(*settings).run();
    }
    if (reportFile.empty()) {
        return exitValue;
    }
    run::RunSettings refused;
    refused.reportFile = reportFile;
    return run::RunSession(refused).refuse();
}
