#pragma once

#include <sys/time.h>

#include <optional>
#include <string>

#include "cpputils/include/thread/annotations.h"
#include "cpputils/include/thread/policies.h"
#include "thread/pipeends.h"
#include "thread/pmutex.h"
#include "thread/sem.h"
#include "thread/threadrunner.h"

/** The two bytes that break off a running command; any other byte counts as a failure. */
inline constexpr unsigned char INTERRUPT_MARK = 0xFF;
inline constexpr unsigned char TIMEOUT_MARK = 0xFE;

/** What is done when a command is broken off. Called on the InterruptThread. */
class InterruptAction {
  public:
    virtual ~InterruptAction() = default;
    virtual void interrupt() = 0;
    virtual void timeout() = 0;
};

/** A caller's handle to break off the command that it waits for. */
class Interrupter {
  public:
    virtual ~Interrupter() = default;
    /** The command is over; on the thread that called for it. */
    virtual void commandFinished() = 0;
    /**
     * From attach to detach one byte, InterruptMark or TimeoutMark, written to `fd` breaks the
     * command off. Both are called on the InterruptThread, which owns the descriptor. Where it
     * can't make one, detach comes alone, with -1.
     */
    virtual void attachInterruptFd(int fd) = 0;
    virtual void detachInterruptFd(int fd) = 0;
};

/**
 * Waits, for the length of one command, for the mark or the time-out that breaks it off, calls the
 * action once and ends. Action, interrupter and the descriptor of the second constructor are
 * borrowed and must outlive it. One thread starts, stops and destroys it; destroying it stops it.
 *
 *     built --start--> waiting --stop, mark or time-out--> ended --stop--> joined
 */
class InterruptThread : public Runnable {
  public:
    /** The mark comes from `interrupter`, which may be null; a null `timeout` waits for ever. */
    InterruptThread(InterruptAction* action, Interrupter* interrupter, const timeval* timeout);
    /** The mark comes out of `readFd`; its end of file, too, breaks the command off. */
    InterruptThread(InterruptAction* action, int readFd);
    ~InterruptThread() override;
    InterruptThread(const InterruptThread&) = delete;
    InterruptThread& operator=(const InterruptThread&) = delete;

    /** Results as ThreadRunner::start. */
    [[nodiscard]] int start();
    /**
     * Ends the thread, waiting for an action under way, and joins it. 0; -1 if there is none or it
     * can't be told, and then it runs on; else the error number of pthread_join.
     */
    [[nodiscard]] int stop();
    bool isCreated() const;

    /** 0, -1 or e_Error_Timeout, and the text to it. To be asked when the thread is joined. */
    int rc() const { return i_rc; }
    const std::string& message() const { return i_message; }

    void* run() override;

  private:
    using Lock = PMutexT<CriticalThreadCantBlockPolicy>;

    [[nodiscard]] bool createPipes();
    int interruptReadEnd() const;
    void waitForEvent();
    void actOnMark();
    void finish(int rc, const std::string& message);
    void closePipes() EXCLUDES(i_lock);

    InterruptAction* const i_action;
    ThreadRunner i_runner;
    Interrupter* const i_interrupter;
    const std::optional<timeval> i_timeout;
    int i_rc = 0;
    std::string i_message;
    PipeEnds i_stopPipe;
    /** Where the marks come from, or -1: then `run` makes the pipe below. */
    const int i_borrowedReadEnd;
    PipeEnds i_interruptPipe;
    /** Posted when `run` has set up, so that `stop` finds its pipe. */
    SemT<CriticalThreadCantBlockPolicy> i_startedSem;
    bool i_finished GUARDED_BY(i_lock) = false;
    /** Guards the closing of the pipes: `stop` must not write to a closed one. */
    Lock i_lock;
};
