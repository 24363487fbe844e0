#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "companions/operator/run/console.h"
#include "companions/operator/run/outputqueue.h"
#include "companions/operator/run/settings.h"
#include "companions/operator/toollog/progresstext.h"

namespace run {

/**
 * Shows the progress of the run. On a terminal it redraws a line on standard error; on request it
 * writes lines of JSON to a descriptor. A slow reader misses some states.
 */
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    Progress(const RunSettings& settings, Console& console);

    /** May be called at any rate; shows at most one state per BETWEEN. */
    void show(const toollog::RunRecord& record);
    void showWait(long secondsLeft);
    /** Writes the last line of JSON. */
    void end(const std::string& cause, int exitValue);
    /** Waits until all JSON is written, at most a second. */
    void finish();

    static constexpr std::chrono::milliseconds BETWEEN{100};

  private:
    bool due();
    toollog::Pace paceOf(const toollog::RunRecord& record);
    void write(const std::string& line);

    Console& i_console;
    const bool i_line;
    const int i_descriptor;
    /** Null unless JSON is asked for. */
    std::unique_ptr<OutputQueue> i_json;
    Clock::time_point i_lastShown;
    /** When the image was first reported open, and when the last page was delivered. */
    Clock::time_point i_start;
    Clock::time_point i_lastPage;
    bool i_started = false;
    long i_pages = 0;
    std::string i_lastLine;
};

}  // namespace run
