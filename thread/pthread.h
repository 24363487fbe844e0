#pragma once

#include "cpputils/include/pimpl_impl.h"

/**
 * A handle for one POSIX thread. It belongs to one thread at a time.
 *
 *     not created --create--> created --join--> not created
 *
 * A detached thread stays created. Destroying the handle of a created thread that isn't detached
 * logs a warning and detaches it.
 */
class PThread {
  public:
    explicit PThread(bool detached);
    virtual ~PThread();
    PThread(const PThread&) = delete;
    PThread& operator=(const PThread&) = delete;

    /**
     * Returns 0, -1 if it is already created, or the error number of pthread_create, which is
     * logged.
     */
    [[nodiscard]] int create(void* (*start)(void*), void* argument);
    /**
     * Waits for the thread's end; `result` may be null. Returns 0, -1 for a detached thread or one
     * that isn't created, or the error number of pthread_join, which is logged.
     */
    [[nodiscard]] int join(void** result);

    bool isCreated() const;

  private:
    class Impl;
    PImplT<Impl> i_impl;
};
