#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "companions/operator/toollog/causes.h"
#include "companions/operator/toollog/logreader.h"
#include "companions/operator/toollog/texts.h"
#include "companions/toolcontract/toolcontract.h"

namespace toollog {

/** The tool's exit values, as a parent process sees them. */
using toolcontract::EXIT_MISSING;
using toolcontract::EXIT_NOT_UPGRADED;
using toolcontract::EXIT_UPGRADED;

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
/** Most pages of an image that can be sent. */
constexpr long MOST_PAGES = 65535;
/** Seconds that the tool waits for a controller. */
constexpr long LONGEST_WAIT = 60;

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
    /** Whether the controller is being written to: the image is open and its end not reported. */
    bool transferring() const {
        return seen(e_LogText_FileOpen) && !seen(e_LogText_UpgradeFailed) && !ended();
    }
    /** Whether the tool has reported the end of its work, and is about to end by itself. */
    bool ended() const { return seen(e_LogText_Done); }
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
    /** Warnings, and failures of the platform; the first MOST_TROUBLES of them. */
    const std::vector<std::string>& troubles() const { return i_troubles; }

    static constexpr std::size_t MOST_TROUBLES = 100;

  private:
    void addAttempt(e_Attempt attempt);
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

}  // namespace toollog
