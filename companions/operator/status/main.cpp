/**
 * tolmira_status: looks at the mailbox between the tool and the controller, and touches nothing.
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

constexpr std::chrono::milliseconds BETWEEN_LOOKS{5};

struct StatusSettings {
    bool json = false;
    bool watch = false;
    /** Lines of a watch; 0 is no end. */
    unsigned count = 0;
};

void Show(const Snapshot& snapshot, bool json) {
    if (snapshot.failure.empty()) {
        puts((json ? Json : Text)(snapshot).c_str());
    } else {
        commandline::ReportFailure("tolmira_status", snapshot.failure, e_Exit_NoObject, json);
    }
}

/** A line for the first look, and one for each that shows a change; the last line's exit value. */
int Watch(const StatusSettings& settings) {
    std::string last;
    for (unsigned lines = 0;;) {
        const Snapshot snapshot = Look();
        const std::string line = (settings.json ? ShortJson : ShortText)(snapshot);
        if (line != last) {
            puts(line.c_str());
            last = line;
            if (++lines == settings.count) {
                return ExitValue(snapshot);
            }
        }
        std::this_thread::sleep_for(BETWEEN_LOOKS);
    }
}

int Run(int argc, const char* const* argv) {
    StatusSettings settings;
    commandline::Program program(
        "Looks at the mailbox in the shared memory /resource0, and touches nothing.\n"
        "Exit value: 0 the controller is present and has the tool's revision, 1 it has another\n"
        "one, 2 wrong usage, 3 it is absent, 4 there is no mailbox to look at.",
        "tolmira_status");
    program.version(TOLMIRA_VERSION);
    program.flag("--json", settings.json, "Answer as one JSON object, with --watch one a line");
    const commandline::Option watch = program.flag(
        "--watch", settings.watch, "Go on looking, and write one line a change, until a signal");
    program.option("--count", settings.count, "With --watch, end behind so many lines")
        .needs(watch);
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    if (settings.watch) {
        return Watch(settings);
    }
    const Snapshot snapshot = Look();
    Show(snapshot, settings.json);
    return ExitValue(snapshot);
}

}  // namespace

}  // namespace status

// Out of memory, the program may end as the library ends it.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return status::Run(argc, argv);
}
