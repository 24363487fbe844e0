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
 * How far the run is, for those who wait for it: a line on standard error that is drawn again and
 * again, only if that is a terminal, or lines of JSON on a descriptor. A reader that is behind
 * misses some.
 */
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    Progress(const RunSettings& settings, Console& console);

    /** To be called as often as there is time; shows at most one state in BETWEEN. */
    void show(const toollog::RunRecord& record);
    /** Seconds until the wait for a controller is given up. */
    void showWait(long secondsLeft);
    void end(const std::string& cause, int exitValue);
    /** Waits until a reader of JSON has all of it, a second at most. */
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
    /** When the image was first seen to be open, and when the last page was delivered. */
    Clock::time_point i_start;
    Clock::time_point i_lastPage;
    bool i_started = false;
    long i_pages = 0;
    std::string i_lastLine;
};

}  // namespace run
