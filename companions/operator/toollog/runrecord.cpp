#include "companions/operator/toollog/runrecord.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace toollog {

namespace {

/** The tool's assertion on a wrong number of arguments. */
constexpr char USAGE_ASSERTION[] = "argc == 3 + numOptions";

/** Bounded, since the log of another program may contain anything. */
long NumberOf(const std::string& digits, long most = MOST_PAGES) {
    return std::clamp(strtol(digits.c_str(), nullptr, 10), 0L, most);
}

}  // namespace

const char* WordsOf(e_Attempt attempt) {
    static const char* const words[] = {"send failed", "no answer", "bad result", "other answer"};
    return words[attempt];
}

void RunRecord::take(const LogLine& line) {
    const Recognised found = Recognise(line.severity, line.message);
    if (found.text != e_LogText_Other) {
        i_seen |= 1U << found.text;
    }
    const bool trouble = line.severity == "WARNING" || line.severity == "CRITICAL";
    if (trouble && i_troubles.size() < MOST_TROUBLES) {
        i_troubles.push_back(WithoutNewline(line.message));
    }
    switch (found.text) {
        case e_LogText_NotThere:
            i_waits = std::min(i_waits + 1, LONGEST_WAIT);
            break;
        case e_LogText_Revision:
            i_revision = NumberOf(found.values[0]);
            break;
        case e_LogText_TooManyPages:
            i_pages = NumberOf(found.values[0], std::numeric_limits<int32_t>::max());
            break;
        case e_LogText_FileOpen:
            i_pages = NumberOf(found.values[1]);
            break;
        case e_LogText_PageVerdict:
            takeVerdict(found.values);
            break;
        case e_LogText_SendFailed:
            addAttempt(e_Attempt_SendFailed);
            break;
        case e_LogText_NoAnswer:
            addAttempt(e_Attempt_NoAnswer);
            break;
        case e_LogText_PageFailed:
            i_failedPage = NumberOf(found.values[0]);
            break;
        case e_LogText_Assertion:
            i_assertion = found.values[0];
            break;
        default:
            break;
    }
}

void RunRecord::addAttempt(e_Attempt attempt) {
    if (i_attempts.size() < ATTEMPTS) {
        i_attempts.push_back(attempt);
    }
}

void RunRecord::takeVerdict(const std::vector<std::string>& values) {
    if (values[1] != PAGE_SENT) {
        addAttempt(e_Attempt_BadResult);
        return;
    }
    i_failedAttempts += i_attempts.size();
    i_attempts.clear();
    i_pagesSent = std::min(NumberOf(values[0]) + 1, i_pages.value_or(MOST_PAGES));
}

std::vector<e_Attempt> RunRecord::attempts() const {
    std::vector<e_Attempt> attempts = i_attempts;
    if (i_failedPage && attempts.size() < ATTEMPTS) {
        attempts.resize(ATTEMPTS, e_Attempt_OtherAnswer);
    }
    return attempts;
}

e_Cause RunRecord::cause(int exitValue, int signal) const {
    if (signal != 0) {
        return signal == SIGABRT && seen(e_LogText_Assertion) ? e_Cause_Assertion : e_Cause_Signal;
    }
    // A text in the log and an exit value, and the cause that the two imply. Runs with many causes
    // log Done, so it comes last.
    const struct {
        e_LogText text;
        int exitValue;
        e_Cause cause;
    } rows[] = {
        {e_LogText_Missing, EXIT_MISSING, e_Cause_ControllerMissing},
        {e_LogText_AlreadyCurrent, EXIT_NOT_UPGRADED, e_Cause_AlreadyCurrent},
        {e_LogText_InvalidFormat, EXIT_NOT_UPGRADED, e_Cause_NotTfi},
        {e_LogText_TooManyPages, EXIT_NOT_UPGRADED, e_Cause_TooManyPages},
        {e_LogText_PageFailed, EXIT_NOT_UPGRADED, e_Cause_PageFailed},
        {e_LogText_UpgradeFailed, EXIT_NOT_UPGRADED, e_Cause_ImageNotSent},
        {e_LogText_Done, EXIT_UPGRADED, e_Cause_Upgraded},
        {e_LogText_Done, EXIT_NOT_UPGRADED, e_Cause_ImageNotOpened},
    };
    for (const auto& row : rows) {
        if (exitValue == row.exitValue && seen(row.text)) {
            return row.cause;
        }
    }
    const bool usage = exitValue == EXIT_NOT_UPGRADED && i_assertion == USAGE_ASSERTION;
    return usage ? e_Cause_WrongUsage : e_Cause_Unknown;
}

}  // namespace toollog
