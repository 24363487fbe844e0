/**
 * tolmira_run: runs the tool for people and scripts. The tool is as it always is; what comes with
 * it is a lock against a second run, a line that tells how far it is, and a record of how it came
 * out.
 */
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

#include "companions/operator/run/progress.h"
#include "companions/operator/run/report.h"
#include "companions/operator/run/runlock.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/toolprocess.h"
#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/runrecord.h"
#include "cpputils/include/standarddescriptors.h"

namespace run {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int SIGNAL_OFFSET = 128;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

/** All of it, or as much as a reader takes that goes away: that must not end the run. */
void WriteAll(const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(STDOUT_FILENO, bytes, count);
        if (written < 0 && errno != EINTR) {
            return;
        }
        if (written > 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
    }
}

/** Passes the tool's output through to its end, and learns from it. */
void PassThrough(ToolProcess& tool, toollog::RunRecord& record) {
    toollog::LogReader reader([&](const toollog::LogLine& line) { record.take(line); });
    ProgressLine progress;
    char buffer[4096];
    ssize_t count = 0;
    do {
        count = tool.read(buffer, sizeof buffer, ProgressLine::BETWEEN_DRAWINGS);
        if (count > 0) {
            progress.erase();
            WriteAll(buffer, static_cast<std::size_t>(count));
            reader.take(buffer, static_cast<std::size_t>(count));
        }
        progress.draw(record);
    } while (count != 0);
    reader.finish();
}

/** 0, or the exit value of a run that must not begin, which has been told. */
int TakeLock(RunLock& lock) {
    switch (lock.take()) {
        case RunLock::e_Result_Taken:
            return 0;
        case RunLock::e_Result_Busy:
            fprintf(stderr, "tolmira_run: another run is under way; wait for its end\n");
            return e_Exit_Busy;
        default:
            fprintf(stderr, "tolmira_run: cannot open %s: %s; check /dev/shm\n", RunLock::FILE_NAME,
                    lock.error().c_str());
            return e_Exit_CannotCreate;
    }
}

/** Runs the tool and reports; the exit value. */
int RunTool(const Settings& settings, FILE* reportFile) {
    const Clock::time_point start = Clock::now();
    ToolProcess tool;
    const int error = tool.start(settings.tool, settings.toolArguments);
    if (error != 0) {
        fprintf(stderr, "tolmira_run: cannot start %s: %s; give --tool its place\n",
                settings.tool.c_str(), strerror(error));
        return e_Exit_CannotStart;
    }
    toollog::RunRecord record;
    PassThrough(tool, record);
    const Ending ending = tool.wait();
    if (reportFile != nullptr) {
        const std::chrono::duration<double> seconds = Clock::now() - start;
        const std::string report = ReportOf(settings, record, ending, seconds.count());
        if (fputs(report.c_str(), reportFile) == EOF || fflush(reportFile) != 0) {
            fprintf(stderr, "tolmira_run: cannot write %s: %s\n", settings.reportFile.c_str(),
                    strerror(errno));
        }
    }
    return ending.signal != 0 ? SIGNAL_OFFSET + ending.signal : ending.exitValue;
}

int Run(const Settings& settings) {
    RunLock lock;
    const int refusal = TakeLock(lock);
    if (refusal != 0) {
        return refusal;
    }
    // Opened in front of the run, since nobody wants to lose the record behind it.
    File reportFile;
    if (!settings.reportFile.empty()) {
        reportFile.reset(fopen(settings.reportFile.c_str(), "we"));
        if (!reportFile) {
            fprintf(stderr, "tolmira_run: cannot write %s: %s; give --report another place\n",
                    settings.reportFile.c_str(), strerror(errno));
            return e_Exit_CannotCreate;
        }
    }
    return RunTool(settings, reportFile.get());
}

}  // namespace

}  // namespace run

int main(int argc, char** argv) {
    OpenStandardDescriptors();
    int exitValue = 0;
    const auto settings = run::ReadCommandLine(argc, argv, exitValue);
    if (!settings) {
        return exitValue;
    }
    return run::Run(*settings);
}
