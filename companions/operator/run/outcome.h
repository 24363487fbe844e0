#pragma once

#include <optional>
#include <string>

#include "companions/operator/run/imagefile.h"
#include "companions/operator/run/runlock.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/run/toolprocess.h"
#include "companions/operator/toollog/runrecord.h"

namespace run {

/** How a run came out: what the report, the closing line and the exit value are made of. */
struct Outcome {
    toollog::e_Cause cause = toollog::e_Cause_Unknown;
    /** What happened, if the cause's words alone don't say it. */
    std::string happened;
    /** The signal that put an end to this program's run; 0 if none did. */
    int signal = 0;

    /** Of the tool; none if it didn't run. */
    std::optional<Ending> tool;
    toollog::RunRecord record;

    CheckedImage image;
    std::optional<long> revisionBefore;
    std::optional<long> revisionAfter;
    /** Whether a clean pass was needed and put the mailbox in order. */
    bool recovered = false;
    /** None if that wasn't asked for, or not reached. */
    std::optional<bool> verified;
    /** The run that left its marker. */
    std::optional<Marker> previous;
};

/** The tool's end as the outcome: its cause, and what happened. */
void TakeToolsEnd(Outcome& outcome);

int ExitValueOf(const Outcome& outcome, const RunSettings& settings);

/** What happened. */
std::string HappenedText(const Outcome& outcome);
/** What to do next. */
const char* NextStepOf(const Outcome& outcome);

}  // namespace run
