#pragma once

#include <string>

#include "cpputils/include/pimpl_impl.h"

/** The code that a thread executes. */
class Runnable {
  public:
    virtual ~Runnable() = default;
    /** The result is passed on by join. */
    virtual void* run() = 0;
};

/** The scheduling class of the calling thread: a hook that does nothing here. */
void SetCurrentThreadClass(int threadClass);
/** The class of the framework's own threads. */
inline constexpr int FRAMEWORK_THREAD_CLASS = 2;

/**
 * Runs a Runnable, which it borrows, on a separate thread. While the thread runs, it has a name in
 * the ThreadRegistrar.
 *
 * There is no stop: a Runnable ends by its own protocol, and the owner then joins. Unless the
 * thread is detached, it must be joined before the runner is destroyed. The runner of a detached
 * thread must outlive the thread.
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

    /** True from a successful start to the join. */
    bool isCreated() const;
    /** True from start until `run` has returned. It stays true after a failed start. */
    bool isRunning() const;

  private:
    class Impl;
    PImplT<Impl> i_impl;
};
