#include "companions/operator/toollog/progresstext.h"

#include <cmath>
#include <cstdio>
#include <initializer_list>

namespace toollog {

namespace {

/** The first form that fits, or else the beginning of the last one. */
std::string Fitting(std::initializer_list<std::string> forms, std::size_t width) {
    for (const std::string& form : forms) {
        if (form.size() <= width) {
            return form;
        }
    }
    return (forms.end() - 1)->substr(0, width);
}

std::string Seconds(double seconds) {
    return std::to_string(std::lround(seconds)) + " s";
}

std::string RateText(const RunRecord& record, const Pace& pace) {
    char text[64];
    snprintf(text, sizeof text, ", %.1f a second",
             static_cast<double>(record.pagesSent()) / pace.transfer);
    return text;
}

}  // namespace

bool Stalled(const RunRecord& record, const Pace& pace) {
    return record.transferring() && pace.page >= STALLED;
}

double SecondsLeft(const RunRecord& record, const Pace& pace) {
    const auto sent = static_cast<double>(record.pagesSent());
    const auto pages = static_cast<double>(record.pages().value_or(0));
    return sent > 0 && pages > sent ? (pages - sent) * pace.transfer / sent : 0;
}

std::string WaitText(long secondsLeft, std::size_t width) {
    const std::string left = std::to_string(secondsLeft) + " s left";
    return Fitting({"waiting for the controller, " + left, "waiting, " + left, left}, width);
}

std::string ProgressText(const RunRecord& record, const Pace& pace, std::size_t width) {
    if (!record.pages()) {
        return record.waits() == 0 || record.revision()
                   ? ""
                   : WaitText(LONGEST_WAIT - record.waits(), width);
    }
    const long pages = *record.pages();
    const std::string sent = std::to_string(record.pagesSent()) + " of " + std::to_string(pages);
    if (Stalled(record, pace)) {
        const std::string stalled = "stalled " + Seconds(std::floor(pace.page));
        return Fitting({sent + " pages, " + stalled, sent + ", " + stalled, stalled}, width);
    }
    if (record.pagesSent() == 0 || pace.transfer <= 0) {
        return Fitting({sent + " pages", sent}, width);
    }
    const std::string left = ", " + Seconds(SecondsLeft(record, pace)) + " left";
    return Fitting({sent + " pages" + RateText(record, pace) + left, sent + " pages" + left,
                    sent + left, sent},
                   width);
}

}  // namespace toollog
