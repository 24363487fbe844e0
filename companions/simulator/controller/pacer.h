#pragma once

#include <chrono>

namespace controller {

/**
 * Chooses the pause between two polls of the mailbox. During a transfer the next byte is a fraction
 * of a microsecond away, so the first misses cause no pause. Then the processor is yielded, since
 * the host may be waiting for it. During a long silence the thread sleeps for short intervals.
 */
class Pacer {
  public:
    using Clock = std::chrono::steady_clock;

    /** To be called after each poll that found something to do. */
    void busy() { i_misses = 0; }
    /** To be called after each miss. Returns the length of the silence, 0 while it is short. */
    std::chrono::milliseconds miss();

  private:
    unsigned i_misses = 0;
    Clock::time_point i_quietSince;
};

}  // namespace controller
