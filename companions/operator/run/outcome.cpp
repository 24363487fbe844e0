#include "companions/operator/run/outcome.h"

#include "companions/toolcontract/toolcontract.h"

namespace run {

namespace {

constexpr int EXIT_IMAGE_FINDING = 1;

const toollog::CauseRow& RowOf(const Outcome& outcome) {
    return toollog::CAUSE_ROWS[outcome.cause];
}

/** How many pages were sent, if the run came that far. */
std::string PagesText(const toollog::RunRecord& record) {
    if (!record.pages() || record.pagesSent() == 0) {
        return "";
    }
    return ", " + std::to_string(record.pagesSent()) + " of " + std::to_string(*record.pages()) +
           " pages sent";
}

}  // namespace

void TakeToolsEnd(Outcome& outcome) {
    outcome.cause = outcome.record.cause(outcome.tool->exitValue, outcome.tool->signal);
    outcome.revisionBefore = outcome.record.revision();
}

int ExitValueOf(const Outcome& outcome, const RunSettings& settings) {
    const toollog::CauseRow& row = RowOf(outcome);
    if (settings.currentOk && outcome.cause == toollog::e_Cause_AlreadyCurrent) {
        return 0;
    }
    if (settings.exitByCause) {
        return row.exitByCause;
    }
    if (settings.check && row.usualExit == toolcontract::EXIT_NOT_UPGRADED) {
        return EXIT_IMAGE_FINDING;
    }
    if (row.usualExit >= 0) {
        return row.usualExit;
    }
    if (outcome.signal != 0) {
        return SIGNAL_OFFSET + outcome.signal;
    }
    return outcome.tool->signal != 0 ? SIGNAL_OFFSET + outcome.tool->signal
                                     : outcome.tool->exitValue;
}

std::string HappenedText(const Outcome& outcome) {
    const std::string what = outcome.happened.empty() ? RowOf(outcome).words : outcome.happened;
    return what + PagesText(outcome.record);
}

const char* NextStepOf(const Outcome& outcome) {
    // The killed run may have overwritten the image of the revision that the controller reports.
    if (outcome.recovered && outcome.cause == toollog::e_Cause_AlreadyCurrent) {
        return "if the killed run was sending pages, start again with -f";
    }
    return RowOf(outcome).nextStep;
}

}  // namespace run
