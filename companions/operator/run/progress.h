#pragma once

#include <chrono>

#include "companions/operator/toollog/runrecord.h"

namespace run {

/** The line on standard error that is drawn over and over, only where that is a terminal. */
class ProgressLine {
  public:
    using Clock = std::chrono::steady_clock;

    ProgressLine();
    ~ProgressLine() { erase(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /** Makes room for other output. */
    void erase();
    /** Draws, if the last time was long enough ago. */
    void draw(const toollog::RunRecord& record);

    static constexpr std::chrono::milliseconds BETWEEN_DRAWINGS{100};

  private:
    bool i_shown;
    bool i_drawn = false;
    Clock::time_point i_lastDrawing;
    /** When the image was first seen to be open. */
    Clock::time_point i_start;
    bool i_started = false;
};

}  // namespace run
