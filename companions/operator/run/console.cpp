#include "companions/operator/run/console.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companions/commandline/printable.h"

namespace run {

namespace {

/** Moves to the start of the line and erases it. */
constexpr char ERASE[] = "\r\033[K";
constexpr std::size_t USUAL_WIDTH = 80;
constexpr std::chrono::milliseconds BETWEEN_SIGNALS{50};

bool LeadToOnePlace() {
    struct stat out = {};
    struct stat err = {};
    return fstat(STDOUT_FILENO, &out) == 0 && fstat(STDERR_FILENO, &err) == 0 &&
           out.st_dev == err.st_dev && out.st_ino == err.st_ino;
}

Console::e_Log LogOf(bool quiet, bool logOnError) {
    if (quiet) {
        return Console::e_Log_None;
    }
    return logOnError ? Console::e_Log_OnError : Console::e_Log_OnOutput;
}

}  // namespace

Console::Console(bool quiet, bool logOnError, bool toJournal)
    : i_quiet(quiet),
      i_log(LogOf(quiet, logOnError)),
      i_errors(LeadToOnePlace() ? nullptr : std::make_unique<OutputQueue>()),
      i_journal(toJournal && !quiet && Journal::listens() ? std::make_unique<Journal>() : nullptr) {
}

void Console::log(const char* bytes, std::size_t count) {
    if (i_log == e_Log_None || i_journal) {
        return;
    }
    eraseProgress();
    if (i_log == e_Log_OnError) {
        errors().put(STDERR_FILENO, std::string(bytes, count));
    } else {
        i_outputs.put(STDOUT_FILENO, std::string(bytes, count));
    }
}

void Console::log(const toollog::LogLine& report) {
    if (i_journal) {
        i_journal->report(report);
    }
}

void Console::close(const std::string& text, const std::string& cause, bool isFailure) {
    if (i_journal) {
        i_journal->close(text, cause, isFailure);
    } else if (isFailure) {
        error(text);
    } else {
        note(text);
    }
}

void Console::line(const std::string& text) {
    eraseProgress();
    errors().put(STDERR_FILENO, "tolmira_run: " + commandline::Printable(text) + '\n');
}

void Console::error(const std::string& text) {
    line(text);
}

void Console::note(const std::string& text) {
    if (!i_quiet) {
        line(text);
    }
}

void Console::output(const std::string& text) {
    i_outputs.put(STDOUT_FILENO, text);
}

std::size_t Console::progressWidth() const {
    if (i_quiet || isatty(STDERR_FILENO) != 1) {
        return 0;
    }
    winsize size = {};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    // Some terminals wrap once the last column is written.
    return known ? size.ws_col - std::size_t{1} : USUAL_WIDTH - 1;
}

void Console::drawProgress(const std::string& text) {
    if (!errors().empty()) {
        return;
    }
    errors().put(STDERR_FILENO, ERASE + text);
    i_drawn = true;
}

void Console::eraseProgress() {
    if (i_drawn) {
        errors().put(STDERR_FILENO, ERASE);
        i_drawn = false;
    }
}

int Console::finish(Signals& signals) {
    eraseProgress();
    const std::size_t dropped = i_outputs.dropped() + (i_errors ? i_errors->dropped() : 0) +
                                (i_journal ? i_journal->queue().dropped() : 0);
    if (dropped != 0) {
        error(std::to_string(dropped) +
              " bytes of output were dropped, because they were not read in time");
    }
    for (OutputQueue* queue :
         {&errors(), &i_outputs, i_journal ? &i_journal->queue() : &i_outputs}) {
        while (!queue->drain(BETWEEN_SIGNALS)) {
            if (const int signal = signals.take()) {
                return signal;
            }
        }
    }
    return 0;
}

}  // namespace run
