#include "companions/operator/run/supervisor.h"

#include <poll.h>

namespace run {

bool SignalRule::ends(bool duringPages, Clock::time_point now) {
    if (i_interruptible || !duringPages || (i_warned && now - *i_warned <= TO_INSIST)) {
        return true;
    }
    i_warned = now;
    return false;
}

Supervisor::Supervisor(const RunSettings& settings, Signals& signals, Console& console,
                       Progress& progress)
    : i_signals(signals),
      i_console(console),
      i_progress(progress),
      i_rule(settings.interruptible),
      i_inhibitor(signals) {}

Course Supervisor::run(const Command& command, e_Log log) {
    i_log = log;
    Course course;
    ToolProcess tool;
    Command withInhibitor = command;
    i_inhibitor.keepFor(withInhibitor);
    course.startError = tool.start(withInhibitor, i_signals);
    if (course.startError != 0) {
        return course;
    }
    toollog::LogReader reader([&](const toollog::LogLine& line) {
        course.record.take(line);
        if (log == e_Log_Shown) {
            i_console.log(line);
        }
    });
    watch(tool, reader, course);
    i_inhibitor.stop();
    course.ending = tool.wait();
    takeOutput(tool, reader);
    reader.finish();
    i_console.eraseProgress();
    return course;
}

void Supervisor::watch(ToolProcess& tool, toollog::LogReader& reader, Course& course) {
    pollfd waits[] = {
        {tool.end(), POLLIN, 0}, {tool.output(), POLLIN, 0}, {i_signals.descriptor(), POLLIN, 0}};
    do {
        const int ready =
            poll(waits, std::size(waits), static_cast<int>(Progress::BETWEEN.count()));
        if (ready > 0 && (waits[1].revents & POLLIN) != 0) {
            takeOutput(tool, reader);
        } else if (ready > 0 && waits[1].revents != 0) {
            waits[1].fd = -1;  // closed by the tool, which may go on running
        }
        // After the output, which shows how far the tool has come.
        if (const int signal = i_signals.take()) {
            takeSignal(tool, course, signal);
        }
        i_inhibitor.attend(course.record.transferring());
        i_progress.show(course.record);
    } while ((waits[0].revents & POLLIN) == 0);
}

void Supervisor::takeOutput(ToolProcess& tool, toollog::LogReader& reader) {
    char buffer[4096];
    while (const std::size_t count = tool.read(buffer, sizeof buffer)) {
        if (i_log == e_Log_Shown) {
            i_console.log(buffer, count);
        }
        reader.take(buffer, count);
    }
}

void Supervisor::takeSignal(ToolProcess& tool, Course& course, int signal) {
    const toollog::RunRecord& record = course.record;
    if (!i_rule.ends(record.transferring(), SignalRule::Clock::now())) {
        i_console.error("an upgrade is under way: " + std::to_string(record.pagesSent()) + " of " +
                        std::to_string(record.pages().value_or(0)) +
                        " pages sent; stopping it leaves the controller without a complete image; "
                        "to stop it, send a second signal within ten seconds");
        return;
    }
    // A tool that has reported its end exits cleanly by itself; only a second signal kills it.
    const bool insists = course.signal != 0;
    course.signal = signal;
    if (!record.ended() || insists) {
        tool.kill();
        course.killed = true;
    }
}

}  // namespace run
