/**
 * tolmira_status: shows the mailbox between the tool and the controller, and changes nothing.
 */
#include <chrono>
#include <cstdio>
#include <thread>

#include "companions/commandline/commandline.h"
#include "companions/commandline/failure.h"
#include "companions/operator/status/answer.h"
#include "companions/operator/status/snapshot.h"
#include "cpputils/include/standarddescriptors.h"

namespace status {

namespace {

constexpr std::chrono::milliseconds POLL_INTERVAL{5};

struct StatusSettings {
    bool json = false;
    bool watch = false;
    /** Lines of --watch; 0 for no limit. */
    unsigned count = 0;
};

void Show(const Snapshot& snapshot, bool json) {
    if (snapshot.failure.empty()) {
        puts((json ? Json : Text)(snapshot).c_str());
    } else {
        commandline::ReportFailure("tolmira_status", snapshot.failure, e_Exit_NoObject, json);
    }
}

/** A line for the first snapshot and for each change. Returns the exit value of the last line. */
int Watch(const StatusSettings& settings) {
    std::string last;
    for (unsigned lines = 0;;) {
        const Snapshot snapshot = TakeSnapshot();
        const std::string line = (settings.json ? ShortJson : ShortText)(snapshot);
        if (line != last) {
            puts(line.c_str());
            last = line;
            if (++lines == settings.count) {
                return ExitValue(snapshot);
            }
        }
        std::this_thread::sleep_for(POLL_INTERVAL);
    }
}

int Run(int argc, const char* const* argv) {
    StatusSettings settings;
    commandline::Program program(
        "Shows the mailbox in the shared memory /resource0, and changes nothing.\n"
        "Exit value: 0 the controller is present and has the tool's revision, 1 it has another\n"
        "revision, 2 wrong usage, 3 it is absent, 4 there is no mailbox.",
        "tolmira_status");
    program.version(TOLMIRA_VERSION);
    program.flag("--json", settings.json, "Print one JSON object, with --watch one per line");
    const commandline::Option watch = program.flag(
        "--watch", settings.watch, "Poll, and print a line for each change, until a signal");
    program.option("--count", settings.count, "Exit after N lines of --watch").needs(watch);
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    if (settings.watch) {
        return Watch(settings);
    }
    const Snapshot snapshot = TakeSnapshot();
    Show(snapshot, settings.json);
    return ExitValue(snapshot);
}

}  // namespace

}  // namespace status

// On std::bad_alloc the program may terminate.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return status::Run(argc, argv);
}
