#pragma once

#include <sys/types.h>

#include <chrono>

#include "companions/operator/run/signals.h"
#include "companions/operator/run/toolprocess.h"

namespace run {

/**
 * An inhibitor lock of the login manager, which blocks sleep and orderly shutdown.
 *
 * A child, systemd-inhibit, takes the lock and holds it until its standard input is closed. The
 * tool inherits the write end of that pipe, so the lock outlasts this process if that is killed.
 * Without a login manager, or without an answer within LIMIT, no lock is held and nothing is
 * reported. No call waits.
 */
class Inhibitor {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Inhibitor(const Signals& signals) : i_signals(signals) {}
    ~Inhibitor() { stop(); }
    Inhibitor(const Inhibitor&) = delete;
    Inhibitor& operator=(const Inhibitor&) = delete;

    /** To be called before the tool starts: adds the descriptor that the tool must inherit. */
    void keepFor(Command& tool);
    /** To be called regularly: asks for the lock once it is wanted, and gives up after LIMIT. */
    void attend(bool wanted);
    /** Releases the lock. */
    void stop();

    static constexpr std::chrono::seconds LIMIT{1};

  private:
    void ask();
    [[nodiscard]] bool granted() const;
    void endChild();

    const Signals& i_signals;
    /** The pipe to the child's standard input. */
    int i_read = -1;
    int i_write = -1;
    /** The child echoes a byte here once it holds the lock. */
    int i_echo = -1;
    pid_t i_child = 0;
    bool i_asked = false;
    Clock::time_point i_askedAt;
};

}  // namespace run
