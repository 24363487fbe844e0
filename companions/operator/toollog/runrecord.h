#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/texts.h"
#include "companions/toolcontract/toolcontract.h"

namespace toollog {

/** The tool's exit values, as a parent process sees them. */
using toolcontract::EXIT_MISSING;
using toolcontract::EXIT_NOT_UPGRADED;
using toolcontract::EXIT_UPGRADED;

/** How a run of the tool came out: X(name, words). The words are what a report shows. */
#define RUN_CAUSES(X)                             \
    X(Upgraded, "upgraded")                       \
    X(ControllerMissing, "controller missing")    \
    X(AlreadyCurrent, "already current")          \
    X(ImageNotOpened, "image not opened")         \
    X(NotTfi, "not a TFI image")                  \
    X(TooManyPages, "too many pages")             \
    X(PageFailed, "page failed")                  \
    X(ImageNotSent, "image can't be cut or read") \
    X(WrongUsage, "wrong usage")                  \
    X(Assertion, "assertion")                     \
    X(Signal, "killed by a signal")               \
    X(Unknown, "unknown")

enum e_Cause {
#define RUN_CAUSE_ENUMERATOR(name, words) e_Cause_##name,
    RUN_CAUSES(RUN_CAUSE_ENUMERATOR)
#undef RUN_CAUSE_ENUMERATOR
};

const char* WordsOf(e_Cause cause);

/** How an attempt at a page failed. An answer with another id leaves no line in the log. */
enum e_Attempt {
    e_Attempt_SendFailed,
    e_Attempt_NoAnswer,
    e_Attempt_BadResult,
    e_Attempt_OtherAnswer,
};

const char* WordsOf(e_Attempt attempt);

/** How often the tool tries a page. */
constexpr std::size_t ATTEMPTS = 5;

/**
 * What the log of a run has told so far, and at its end how the run came out. It looks at the log
 * and the end of the process, at nothing else.
 */
class RunRecord {
  public:
    void take(const LogLine& line);

    /** `signal` is 0 for a run that ended by itself, with `exitValue`. */
    e_Cause cause(int exitValue, int signal) const;

    std::optional<long> revision() const { return i_revision; }
    /** Pages of the image, once it is open, or too many of them. */
    std::optional<long> pages() const { return i_pages; }
    long pagesSent() const { return i_pagesSent; }
    /** Seconds that the tool has waited for the controller. */
    long waits() const { return i_waits; }
    /** Attempts that failed, of all pages. */
    std::size_t failedAttempts() const { return i_failedAttempts + i_attempts.size(); }
    std::optional<long> failedPage() const { return i_failedPage; }
    /**
     * The failed page's attempts. Those that left no line stand at the end, since the log doesn't
     * tell where they belong.
     */
    std::vector<e_Attempt> attempts() const;
    /** The text of the last failed assertion, empty if there was none. */
    const std::string& assertion() const { return i_assertion; }
    /** Warnings, and failures of the platform. */
    const std::vector<std::string>& troubles() const { return i_troubles; }

  private:
    void takeVerdict(const std::vector<std::string>& values);
    bool seen(e_LogText text) const { return (i_seen >> text & 1U) != 0; }

    /** A bit for each text. */
    unsigned i_seen = 0;
    std::optional<long> i_revision;
    std::optional<long> i_pages;
    long i_pagesSent = 0;
    long i_waits = 0;
    std::size_t i_failedAttempts = 0;
    /** Of the page that is under way, or failed. */
    std::vector<e_Attempt> i_attempts;
    std::optional<long> i_failedPage;
    std::string i_assertion;
    std::vector<std::string> i_troubles;
};

/**
 * How far a run is, in one line; `seconds` is how long the image has been open. Empty while there
 * is nothing to tell.
 */
std::string ProgressText(const RunRecord& record, double seconds);

}  // namespace toollog
