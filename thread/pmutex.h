#pragma once

#include <pthread.h>
#include <sys/time.h>

#include "cpputils/include/thread/annotations.h"
#include "logger/assertion.h"

/**
 * A POSIX mutex whose failures are programming errors: every call but tryLock is asserted.
 *
 *     free --lock, tryLock (0)--> held by the caller --unlock--> free
 *
 * Destroying a held mutex is a failed assertion. Any thread may use it, except that a mutex is
 * unlocked by its holder.
 */
class CAPABILITY("mutex") PMutexImpl {
  public:
    /** `mutexType` as pthread_mutexattr_settype takes it: PTHREAD_MUTEX_NORMAL or _RECURSIVE. */
    explicit PMutexImpl(int mutexType);
    virtual ~PMutexImpl();
    PMutexImpl(const PMutexImpl&) = delete;
    PMutexImpl& operator=(const PMutexImpl&) = delete;

    // Forced inline, here and below: each mailbox access takes and releases a lock, and without a
    // profile the compiler finds the reports too large to inline.
    [[gnu::always_inline]] void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        ASSERT(0 == pthread_mutex_lock(&i_mutex));
    }
    [[gnu::always_inline]] void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS {
        ASSERT(0 == pthread_mutex_unlock(&i_mutex));
    }
    /** Returns 0 if the lock was taken, else the error number. */
    [[nodiscard]] int tryLock() TRY_ACQUIRE(0) NO_THREAD_SAFETY_ANALYSIS {
        return pthread_mutex_trylock(&i_mutex);
    }

  protected:
    pthread_mutex_t i_mutex;
};

/**
 * A mutex of the normal type with a condition variable. The caller holds the lock when it calls one
 * of the two waits, and holds it again when they return. No blocking policy is checked.
 */
class CAPABILITY("mutex") PMutexWithCondImpl : public PMutexImpl {
  public:
    PMutexWithCondImpl();
    ~PMutexWithCondImpl() override;

    void wait() REQUIRES(this);
    /**
     * Waits at most `timeout`. Returns 0, e_Error_Timeout, or at once e_Error_InvalidArgument for
     * an invalid length of time.
     */
    [[nodiscard]] int timedWait(const timeval& timeout) REQUIRES(this);
    void signal();
    void broadcast();

  private:
    pthread_cond_t i_cond;
};

/** A mutex that checks `Policy` before it could sleep, even if it is free. */
template <typename Policy>
class CAPABILITY("mutex") PMutexT {
  public:
    explicit PMutexT(int mutexType) : i_impl(mutexType) {}
    PMutexT(const PMutexT&) = delete;
    PMutexT& operator=(const PMutexT&) = delete;

    [[gnu::always_inline]] void lock() ACQUIRE() NO_THREAD_SAFETY_ANALYSIS {
        Policy::assertBlockingIsAllowed();
        i_impl.lock();
    }
    [[gnu::always_inline]] void unlock() RELEASE() NO_THREAD_SAFETY_ANALYSIS { i_impl.unlock(); }
    /**
     * Returns 0 if the lock was taken, else the error number. Never sleeps, so no policy is
     * checked.
     */
    [[nodiscard]] int tryLock() TRY_ACQUIRE(0) NO_THREAD_SAFETY_ANALYSIS {
        return i_impl.tryLock();
    }

  private:
    PMutexImpl i_impl;
};

/**
 * Holds a mutex, which it borrows, to the end of its scope. A default-constructed one holds none.
 */
template <typename Mutex>
class SCOPED_CAPABILITY AutoLockT {
  public:
    AutoLockT() : i_mutex(nullptr) {}
    [[gnu::always_inline]] explicit AutoLockT(Mutex& mutex) ACQUIRE(mutex) : i_mutex(&mutex) {
        i_mutex->lock();
    }
    [[gnu::always_inline]] virtual ~AutoLockT() RELEASE() {
        if (i_mutex != nullptr) {
            i_mutex->unlock();
        }
    }
    AutoLockT(const AutoLockT&) = delete;
    AutoLockT& operator=(const AutoLockT&) = delete;

  private:
    Mutex* i_mutex;
};
