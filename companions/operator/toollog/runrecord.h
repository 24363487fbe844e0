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
 * What the log of a run has reported so far and, at its end, the cause. It uses the log and the
 * tool's end, and nothing else.
 */
class RunRecord {
  public:
    void take(const LogLine& line);

    /** `signal` is 0 for a run that ended by itself, with `exitValue`. */
    e_Cause cause(int exitValue, int signal) const;

    std::optional<long> revision() const { return i_revision; }
    /** Pages of the image, even if there are too many; no value before it is open. */
    std::optional<long> pages() const { return i_pages; }
    long pagesSent() const { return i_pagesSent; }
    /** Seconds that the tool has waited for the controller. */
    long waits() const { return i_waits; }
    /** Whether pages are being sent: the image is open, and the end is not reported. */
    bool transferring() const {
        return seen(e_LogText_FileOpen) && !seen(e_LogText_UpgradeFailed) && !ended();
    }
    /** Whether the tool has reported the end of its work; it then exits by itself. */
    bool ended() const { return seen(e_LogText_Done); }
    /** Attempts that failed, of all pages. */
    std::size_t failedAttempts() const { return i_failedAttempts + i_attempts.size(); }
    std::optional<long> failedPage() const { return i_failedPage; }
    /**
     * The failed page's attempts. Those that left no line come last, since the log doesn't show
     * where they belong.
     */
    std::vector<e_Attempt> attempts() const;
    /** The text of the last failed assertion, empty if there was none. */
    const std::string& assertion() const { return i_assertion; }
    /** The first MOST_TROUBLES warnings and critical messages. */
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
    /** Of the page that is being sent, or failed. */
    std::vector<e_Attempt> i_attempts;
    std::optional<long> i_failedPage;
    std::string i_assertion;
    std::vector<std::string> i_troubles;
};

}  // namespace toollog
