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

/** The two bytes that interrupt a running command; any other byte counts as a failure. */
inline constexpr unsigned char INTERRUPT_MARK = 0xFF;
inline constexpr unsigned char TIMEOUT_MARK = 0xFE;

/** The actions on an interrupt and on a timeout, called on the InterruptThread. */
class InterruptAction {
  public:
    virtual ~InterruptAction() = default;
    virtual void interrupt() = 0;
    virtual void timeout() = 0;
};

/** Lets a caller interrupt the command that it waits for. */
class Interrupter {
  public:
    virtual ~Interrupter() = default;
    /** The command has ended. Called on the thread that waits for it. */
    virtual void commandFinished() = 0;
    /**
     * Writing INTERRUPT_MARK or TIMEOUT_MARK to `fd` between attach and detach ends the command.
     * The InterruptThread calls both functions and owns the descriptor. If it can't create one, it
     * calls only detach, with -1.
     */
    virtual void attachInterruptFd(int fd) = 0;
    virtual void detachInterruptFd(int fd) = 0;
};

/**
 * Waits, during one command, for a mark or a timeout, then calls the action once and ends. The
 * action, the interrupter and the descriptor of the second constructor are borrowed and must
 * outlive it. One thread starts, stops and destroys it; destroying it stops it.
 *
 *     built --start--> waiting --stop, mark or timeout--> ended --stop--> joined
 */
class InterruptThread : public Runnable {
  public:
    /** The mark comes from `interrupter`, which may be null. A null `timeout` waits for ever. */
    InterruptThread(InterruptAction* action, Interrupter* interrupter, const timeval* timeout);
    /** The mark is read from `readFd`. End of file counts as a mark. */
    InterruptThread(InterruptAction* action, int readFd);
    ~InterruptThread() override;
    InterruptThread(const InterruptThread&) = delete;
    InterruptThread& operator=(const InterruptThread&) = delete;

    /** Results as ThreadRunner::start. */
    [[nodiscard]] int start();
    /**
     * Ends the thread, but lets an action finish, and joins it. Returns 0, the error number of
     * pthread_join, or -1 if there is no thread or the stop can't be sent, in which case it keeps
     * running.
     */
    [[nodiscard]] int stop();
    bool isCreated() const;

    /**
     * The result and its text: 0 and no text if `stop` came first, else -1 or e_Error_Timeout.
     * Valid when the thread is joined.
     */
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
    /** The source of the marks, or -1: then `run` makes the pipe below. */
    const int i_borrowedReadEnd;
    PipeEnds i_interruptPipe;
    /** Posted when `run` is ready, so that `stop` finds its pipe. */
    SemT<CriticalThreadCantBlockPolicy> i_startedSem;
    bool i_finished GUARDED_BY(i_lock) = false;
    /** Guards the closing of the pipes: `stop` must not write to a closed one. */
    Lock i_lock;
};
