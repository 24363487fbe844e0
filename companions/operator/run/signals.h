#pragma once

#include <spawn.h>

#include <csignal>

namespace run {

/**
 * The signals that ask a run to end, read from a descriptor instead of by a handler.
 *
 * After construction SIGINT, SIGQUIT and SIGTERM arrive only here, unless they were ignored before.
 * SIGHUP (lost terminal), SIGPIPE (lost reader) and SIGXFSZ (full quota) are ignored. So are stops
 * from the terminal, since a stopped run would stall the transfer once the log's pipe is full.
 * Create it before any thread, and once in a process.
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

    /** The signal mask of children. */
    const sigset_t& maskBefore() const { return i_maskBefore; }
    /** The signals that this process ignores and children must not. */
    const sigset_t& defaultsOfChildren() const { return i_defaultsOfChildren; }

  private:
    sigset_t i_maskBefore;
    sigset_t i_defaultsOfChildren;
    int i_descriptor;
};

/**
 * Spawn attributes of every child: a new session, the original signal mask, and the signals of
 * `defaultsOfChildren()` not ignored. SIGHUP, SIGINT, SIGQUIT and SIGTERM stay ignored.
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
