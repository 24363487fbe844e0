#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "companions/operator/run/journal.h"
#include "companions/operator/run/outputqueue.h"
#include "companions/operator/run/signals.h"

namespace run {

/**
 * Standard output and standard error of this program. Nothing here waits for a reader, except
 * finish(). Lines of its own are printable, whatever names and values are in them.
 */
class Console {
  public:
    enum e_Log {
        e_Log_OnOutput,
        e_Log_OnError,
        e_Log_None,
    };

    /**
     * `quiet` leaves out the log, the progress and the notes. With `toJournal`, log and closing
     * line go to the system's journal and nowhere else, if there is one.
     */
    Console(bool quiet, bool logOnError, bool toJournal);

    /** The tool's output, byte for byte, and the same as reports, for the journal. */
    void log(const char* bytes, std::size_t count);
    void log(const toollog::LogLine& report);
    /** The closing line. */
    void close(const std::string& text, const std::string& cause, bool isFailure);
    /** A line on standard error, with the program's name before it; an error is never left out. */
    void error(const std::string& text);
    void note(const std::string& text);
    /** On standard output. */
    void output(const std::string& text);

    /** How many characters a progress line may have; 0: nobody would see it. */
    std::size_t progressWidth() const;
    /** Draws in place of the last progress, unless a reader is behind. */
    void drawProgress(const std::string& text);
    void eraseProgress();

    /**
     * Waits until the readers have everything. The signal that put an end to that, with a note how
     * much is lost; 0 if all is written.
     */
    int finish(Signals& signals);

  private:
    OutputQueue& errors() { return i_errors ? *i_errors : i_outputs; }
    const OutputQueue& errors() const { return i_errors ? *i_errors : i_outputs; }
    void line(const std::string& text);

    const bool i_quiet;
    const e_Log i_log;
    OutputQueue i_outputs;
    /** Null if both lead to one place. */
    std::unique_ptr<OutputQueue> i_errors;
    std::unique_ptr<Journal> i_journal;
    bool i_drawn = false;
};

}  // namespace run
