#include "companions/operator/run/progress.h"

#include <fcntl.h>

#include <cmath>

#include "companions/jsonvalue/jsonvalue.h"

namespace run {

namespace {

constexpr std::chrono::seconds LAST_READER{1};

double Seconds(Progress::Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

std::string WaitLine(long secondsLeft) {
    return JsonValue{{"format", 1}, {"phase", "waiting"}, {"seconds_left", secondsLeft}}.dump();
}

/** Empty while there is nothing to show. */
std::string LineOf(const toollog::RunRecord& record, const toollog::Pace& pace) {
    if (!record.pages()) {
        const bool waits = record.waits() != 0 && !record.revision();
        return waits ? WaitLine(toollog::LONGEST_WAIT - record.waits()) : "";
    }
    const bool stalled = toollog::Stalled(record, pace);
    return JsonValue{{"format", 1},
                     {"phase", "pages"},
                     {"pages", *record.pages()},
                     {"pages_sent", record.pagesSent()},
                     {"seconds_left", std::lround(toollog::SecondsLeft(record, pace))},
                     {"stalled_seconds", stalled ? std::lround(std::floor(pace.page)) : 0}}
        .dump();
}

}  // namespace

Progress::Progress(const RunSettings& settings, Console& console)
    : i_console(console),
      i_line(settings.progress == PROGRESS_LINE),
      i_descriptor(settings.progressDescriptor) {
    if (settings.progress == PROGRESS_JSON) {
        fcntl(i_descriptor, F_SETFD, FD_CLOEXEC);
        i_json = std::make_unique<OutputQueue>();
    }
}

bool Progress::due() {
    const Clock::time_point now = Clock::now();
    const bool due = now - i_lastShown >= BETWEEN;
    if (due) {
        i_lastShown = now;
    }
    return due;
}

toollog::Pace Progress::paceOf(const toollog::RunRecord& record) {
    const Clock::time_point now = Clock::now();
    if (!i_started && record.pages()) {
        i_started = true;
        i_start = now;
        i_lastPage = now;
    }
    if (record.pagesSent() != i_pages) {
        i_pages = record.pagesSent();
        i_lastPage = now;
    }
    return {Seconds(now - i_start), Seconds(now - i_lastPage)};
}

void Progress::show(const toollog::RunRecord& record) {
    const toollog::Pace pace = paceOf(record);
    if (!due()) {
        return;
    }
    if (i_json) {
        write(LineOf(record, pace));
        return;
    }
    const std::size_t width = i_line ? i_console.progressWidth() : 0;
    const std::string text = toollog::ProgressText(record, pace, width);
    if (!text.empty()) {
        i_console.drawProgress(text);
    }
}

void Progress::showWait(long secondsLeft) {
    if (!due()) {
        return;
    }
    if (i_json) {
        write(WaitLine(secondsLeft));
    } else if (i_line && i_console.progressWidth() > 0) {
        i_console.drawProgress(toollog::WaitText(secondsLeft, i_console.progressWidth()));
    }
}

void Progress::write(const std::string& line) {
    if (!line.empty() && line != i_lastLine && i_json->empty()) {
        i_json->put(i_descriptor, line + '\n');
        i_lastLine = line;
    }
}

void Progress::end(const std::string& cause, int exitValue) {
    if (i_json) {
        i_json->put(
            i_descriptor,
            JsonValue{
                {"format", 1}, {"phase", "ended"}, {"cause", cause}, {"exit_value", exitValue}}
                    .dump() +
                '\n');
    }
}

void Progress::finish() {
    if (i_json) {
        (void)i_json->drain(LAST_READER);  // without a reader the rest is lost
    }
}

}  // namespace run
