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

/** From so many seconds without a page on a transfer counts as stalled. */
constexpr double STALLED = 2;

bool Stalled(const RunRecord& record, const Pace& pace);

/** Seconds until the last page at the mean rate so far; 0 if that isn't known. */
double SecondsLeft(const RunRecord& record, const Pace& pace);

/** The wait for a controller, as ProgressText() has it. */
std::string WaitText(long secondsLeft, std::size_t width);

/**
 * How far a run is, in one line of at most `width` characters: what matters least is left out
 * first. Empty while there is nothing to show.
 */
std::string ProgressText(const RunRecord& record, const Pace& pace, std::size_t width);

}  // namespace toollog
