#pragma once

#include <string>

#include "cpputils/include/pimpl_impl.h"

/** What a thread executes. */
class Runnable {
  public:
    virtual ~Runnable() = default;
    /** The result is what join hands back. */
    virtual void* run() = 0;
};

/** The scheduling class of the calling thread: a hook that does nothing here. */
void SetCurrentThreadClass(int threadClass);
/** The class of the framework's own threads. */
inline constexpr int FRAMEWORK_THREAD_CLASS = 2;

/**
 * Runs a Runnable, which it borrows, on a thread of its own, and announces the thread to the
 * ThreadRegistrar under a name for as long as it runs.
 *
 * There is no stop: a Runnable ends by its own protocol, and the owner then joins. The runner of a
 * thread that is not detached must be joined before it is destroyed, a detached one must outlive
 * its thread.
 */
class ThreadRunner {
  public:
    ThreadRunner(Runnable* runnable, const std::string& name, bool detached, int threadClass);
    virtual ~ThreadRunner();
    ThreadRunner(const ThreadRunner&) = delete;
    ThreadRunner& operator=(const ThreadRunner&) = delete;

    /** Results as PThread::create. */
    [[nodiscard]] int start();
    /** Results as PThread::join. */
    [[nodiscard]] int join(void** result);

    /** Tells a started thread, not yet joined. */
    bool isCreated() const;
    /** From start until `run` has returned; it stays true after a failed start. */
    bool isRunning() const;

  private:
    class Impl;
    PImplT<Impl> i_impl;
};
