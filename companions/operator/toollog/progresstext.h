#pragma once

#include <cstddef>
#include <string>

#include "companions/operator/toollog/runrecord.h"

namespace toollog {

/** Times of a run, in seconds. */
struct Pace {
    /** Since the image was opened. */
    double transfer = 0;
    /** Since the last page was delivered, or the image opened. */
    double page = 0;
};

/** Seconds without a page after which a transfer counts as stalled. */
constexpr double STALLED = 2;

bool Stalled(const RunRecord& record, const Pace& pace);

/** Seconds until the last page at the mean rate so far; 0 if that isn't known. */
double SecondsLeft(const RunRecord& record, const Pace& pace);

/** The progress line of the wait for a controller. */
std::string WaitText(long secondsLeft, std::size_t width);

/**
 * The progress of a run in one line of at most `width` characters; the least important parts are
 * left out first. Empty while there is nothing to show.
 */
std::string ProgressText(const RunRecord& record, const Pace& pace, std::size_t width);

}  // namespace toollog
