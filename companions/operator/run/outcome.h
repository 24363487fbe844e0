#pragma once

#include <optional>
#include <string>

#include "companions/operator/run/imagefile.h"
#include "companions/operator/run/runlock.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/toolprocess.h"
#include "companions/operator/toollog/runrecord.h"

namespace run {

/** Result of a run, from which the report, the closing line and the exit value are made. */
struct Outcome {
    toollog::e_Cause cause = toollog::e_Cause_Unknown;
    /** What happened, in more detail than the cause's words; empty if those are enough. */
    std::string happened;
    /** The signal that ended this program's run, or 0. */
    int signal = 0;

    /** Of the tool; no value if it didn't run. */
    std::optional<Ending> tool;
    toollog::RunRecord record;

    CheckedImage image;
    std::optional<long> revisionBefore;
    std::optional<long> revisionAfter;
    /** A clean pass was needed, and has put the mailbox in order. */
    bool recovered = false;
    /** Result of --verify; no value if it wasn't requested or not reached. */
    std::optional<bool> verified;
    /** Of an earlier run that did not end cleanly. */
    std::optional<Marker> previous;
};

/** Derives the cause and the revision from the tool's end and log. */
void TakeToolsEnd(Outcome& outcome);

/** The exit value after a signal is this and the signal's number. */
constexpr int SIGNAL_OFFSET = 128;

int ExitValueOf(const Outcome& outcome, const RunSettings& settings);

/** The two halves of the closing line: what happened, and what to do next. */
std::string HappenedText(const Outcome& outcome);
const char* NextStepOf(const Outcome& outcome);

}  // namespace run
