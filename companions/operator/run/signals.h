#pragma once

#include <spawn.h>

#include <csignal>

namespace run {

/**
 * The signals that ask a run to end, read as numbers in place of a handler.
 *
 * From its constructor on SIGINT, SIGQUIT and SIGTERM arrive here alone, unless they were ignored
 * from the start. The loss of the terminal (SIGHUP), the loss of a reader (SIGPIPE) and a full
 * quota (SIGXFSZ) have no effect, nor has a stop from the terminal: a stopped run would stall the
 * transfer when the pipe of the log is full. Children inherit all of them as ignored. To be made
 * before any thread. One in a process.
 */
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    /** Readable when take() has a signal. */
    int descriptor() const { return i_descriptor; }
    /** The next signal; 0 if there is none. Doesn't wait. */
    int take();

    /** The mask to start children with. */
    const sigset_t& maskBefore() const { return i_maskBefore; }
    /** What children must not inherit as ignored, since only this process has reason to. */
    const sigset_t& defaultsOfChildren() const { return i_defaultsOfChildren; }

  private:
    sigset_t i_maskBefore;
    sigset_t i_defaultsOfChildren;
    int i_descriptor;
};

/**
 * How each child starts: in a session of its own, with the mask and the signals that it would have
 * without this process.
 */
class ChildAttributes {
  public:
    explicit ChildAttributes(const Signals& signals);
    ~ChildAttributes();
    ChildAttributes(const ChildAttributes&) = delete;
    ChildAttributes& operator=(const ChildAttributes&) = delete;

    /** For posix_spawn. */
    const posix_spawnattr_t* get() const { return &i_attributes; }

  private:
    posix_spawnattr_t i_attributes;
};

}  // namespace run
