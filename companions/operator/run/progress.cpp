#include "companions/operator/run/progress.h"

#include <unistd.h>

#include <cstdio>

namespace run {

namespace {

/** Back to the start of the line, and nothing behind that. */
constexpr char ERASE[] = "\r\033[K";

}  // namespace

ProgressLine::ProgressLine() : i_shown(isatty(STDERR_FILENO) == 1) {}

void ProgressLine::erase() {
    if (i_drawn) {
        fputs(ERASE, stderr);
        i_drawn = false;
    }
}

void ProgressLine::draw(const toollog::RunRecord& record) {
    const Clock::time_point now = Clock::now();
    if (!i_started && record.pages()) {
        i_started = true;
        i_start = now;
    }
    if (!i_shown || now - i_lastDrawing < BETWEEN_DRAWINGS) {
        return;
    }
    const std::string text =
        toollog::ProgressText(record, std::chrono::duration<double>(now - i_start).count());
    if (!text.empty()) {
        fprintf(stderr, "%s%s", ERASE, text.c_str());
        i_drawn = true;
        i_lastDrawing = now;
    }
}

}  // namespace run
