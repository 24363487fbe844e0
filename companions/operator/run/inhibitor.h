#pragma once

#include <sys/types.h>

#include <chrono>

#include "companions/operator/run/signals.h"
#include "companions/operator/run/toolprocess.h"

namespace run {

/**
 * Keeps the machine awake: no sleep and no orderly shutdown while it is held. systemd-inhibit does
 * it, as a child that asks the login manager and then holds the lock for as long as its standard
 * input is open. The tool has the other end of that open too, so that the lock lasts even if this
 * process is killed. Where there is no such manager, or it doesn't answer within LIMIT, nothing is
 * held and nothing said. Nothing here waits.
 */
class Inhibitor {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Inhibitor(const Signals& signals) : i_signals(signals) {}
    ~Inhibitor() { stop(); }
    Inhibitor(const Inhibitor&) = delete;
    Inhibitor& operator=(const Inhibitor&) = delete;

    /** Before the tool starts: what it is to keep open. */
    void keepFor(Command& tool);
    /** Now and then: asks when it is wanted first, and gives up when no answer comes. */
    void attend(bool wanted);
    /** Lets go. */
    void stop();

    static constexpr std::chrono::seconds LIMIT{1};

  private:
    void ask();
    [[nodiscard]] bool granted() const;
    void endChild();

    const Signals& i_signals;
    /** The child's standard input: its end, and ours. */
    int i_read = -1;
    int i_write = -1;
    /** Where the child echoes a byte once it holds the lock. */
    int i_echo = -1;
    pid_t i_child = 0;
    bool i_asked = false;
    Clock::time_point i_askedAt;
};

}  // namespace run
