#pragma once

#include <chrono>

namespace controller {

/**
 * How hard to look at the mailbox. In a conversation the next byte is a fraction of a microsecond
 * away, so the first misses go by without a pause; then the processor is offered to others, since
 * the host may be waiting for this very one; and a long silence is slept through in small pieces.
 */
class Pacer {
  public:
    using Clock = std::chrono::steady_clock;

    void busy() { i_misses = 0; }
    /** To be called after each miss. Returns the length of the silence, 0 while it is short. */
    std::chrono::milliseconds miss();

  private:
    unsigned i_misses = 0;
    Clock::time_point i_quietSince;
};

}  // namespace controller
