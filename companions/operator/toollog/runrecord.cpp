#include "companions/operator/toollog/runrecord.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace toollog {

namespace {

/** The assertion that a wrong number of arguments ends in. */
constexpr char USAGE_ASSERTION[] = "argc == 3 + numOptions";

long NumberOf(const std::string& digits) {
    return strtol(digits.c_str(), nullptr, 10);
}

/** A message as one line of a list. */
std::string WithoutNewline(std::string message) {
    if (!message.empty() && message.back() == '\n') {
        message.pop_back();
    }
    return message;
}

}  // namespace

const char* WordsOf(e_Cause cause) {
    static const char* const words[] = {
#define RUN_CAUSE_WORDS(name, words) words,
        RUN_CAUSES(RUN_CAUSE_WORDS)
#undef RUN_CAUSE_WORDS
    };
    return words[cause];
}

const char* WordsOf(e_Attempt attempt) {
    static const char* const words[] = {"send failed", "no answer", "bad result", "other answer"};
    return words[attempt];
}

void RunRecord::take(const LogLine& line) {
    const Recognised found = Recognise(line.severity, line.message);
    if (found.text != e_LogText_Other) {
        i_seen |= 1U << found.text;
    }
    if (line.severity == "WARNING" || line.severity == "CRITICAL") {
        i_troubles.push_back(WithoutNewline(line.message));
    }
    switch (found.text) {
        case e_LogText_NotThere:
            ++i_waits;
            break;
        case e_LogText_Revision:
            i_revision = NumberOf(found.values[0]);
            break;
        case e_LogText_TooManyPages:
            i_pages = NumberOf(found.values[0]);
            break;
        case e_LogText_FileOpen:
            i_pages = NumberOf(found.values[1]);
            break;
        case e_LogText_PageVerdict:
            takeVerdict(found.values);
            break;
        case e_LogText_SendFailed:
            i_attempts.push_back(e_Attempt_SendFailed);
            break;
        case e_LogText_NoAnswer:
            i_attempts.push_back(e_Attempt_NoAnswer);
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

void RunRecord::takeVerdict(const std::vector<std::string>& values) {
    if (values[1] != PAGE_SENT) {
        i_attempts.push_back(e_Attempt_BadResult);
        return;
    }
    i_failedAttempts += i_attempts.size();
    i_attempts.clear();
    i_pagesSent = NumberOf(values[0]) + 1;
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
    // What the tool says, the exit value that goes with it, and what it means. The last text of a
    // run is the same for many causes, so it stands behind the others.
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

std::string ProgressText(const RunRecord& record, double seconds) {
    if (!record.pages()) {
        return record.waits() == 0 || record.revision()
                   ? ""
                   : "waiting for the controller, " + std::to_string(record.waits()) + " s";
    }
    const long pages = *record.pages();
    const long sent = record.pagesSent();
    std::string text = std::to_string(sent) + " of " + std::to_string(pages) + " pages";
    if (sent > 0 && seconds > 0) {
        const double rate = static_cast<double>(sent) / seconds;
        char behind[64];
        snprintf(behind, sizeof behind, ", %.1f a second, %.0f s left", rate,
                 static_cast<double>(pages - sent) / rate);
        text += behind;
    }
    return text;
}

}  // namespace toollog
