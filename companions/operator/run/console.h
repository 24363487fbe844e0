#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "companions/operator/run/journal.h"
#include "companions/operator/run/outputqueue.h"
#include "companions/operator/run/signals.h"

namespace run {

/**
 * Standard output and standard error of this program. Only finish() waits for a reader. The
 * program's own lines are made printable.
 */
class Console {
  public:
    enum e_Log {
        e_Log_OnOutput,
        e_Log_OnError,
        e_Log_None,
    };

    /**
     * `quiet` leaves out the log, the progress and the notes. With `toJournal`, the log and the
     * closing line go only to the system's journal, if there is one.
     */
    Console(bool quiet, bool logOnError, bool toJournal);

    /** The tool's output: byte for byte, and as reports for the journal. */
    void log(const char* bytes, std::size_t count);
    void log(const toollog::LogLine& report);
    /** The closing line. */
    void close(const std::string& text, const std::string& cause, bool isFailure);
    /** Print a line on standard error with the program's name; only notes obey `quiet`. */
    void error(const std::string& text);
    void note(const std::string& text);
    /** Writes the text to standard output. */
    void output(const std::string& text);

    /** Longest progress line in characters; 0 if no terminal shows it. */
    std::size_t progressWidth() const;
    /** Replaces the last progress line; skipped while earlier output is still waiting. */
    void drawProgress(const std::string& text);
    void eraseProgress();

    /**
     * Waits until all output is written, and reports how much was dropped. Returns the signal that
     * ended the wait, or 0.
     */
    int finish(Signals& signals);

  private:
    OutputQueue& errors() { return i_errors ? *i_errors : i_outputs; }
    const OutputQueue& errors() const { return i_errors ? *i_errors : i_outputs; }
    void line(const std::string& text);

    const bool i_quiet;
    const e_Log i_log;
    OutputQueue i_outputs;
    /** Null if both are the same file. */
    std::unique_ptr<OutputQueue> i_errors;
    std::unique_ptr<Journal> i_journal;
    bool i_drawn = false;
};

}  // namespace run
