#pragma once

#include <semaphore.h>
#include <sys/time.h>

#include <cerrno>

#include "cpputils/include/returncodes.h"
#include "logger/assertion.h"
#include "thread/deadline.h"

/**
 * An unnamed semaphore of this process whose waits check `Policy` first. A failing call is a
 * programming error and asserts. A signal doesn't end a wait.
 */
template <typename Policy>
class SemT {
  public:
    explicit SemT(unsigned int value) : i_sem() { ASSERT(0 == sem_init(&i_sem, 0, value)); }
    ~SemT() { ASSERT(0 == sem_destroy(&i_sem)); }
    SemT(const SemT&) = delete;
    SemT& operator=(const SemT&) = delete;

    int getvalue() {
        int value = 0;
        ASSERT(0 == sem_getvalue(&i_sem, &value));
        return value;
    }

    void post() { ASSERT(0 == sem_post(&i_sem)); }

    /** Returns 0, or -1 with errno set. Never sleeps. */
    [[nodiscard]] int tryWait() { return sem_trywait(&i_sem); }

    void wait() {
        Policy::assertBlockingIsAllowed();
        int rc = 0;
        do {
            rc = sem_wait(&i_sem);
        } while (rc == -1 && errno == EINTR);
        ASSERT(0 == rc);
    }

    /**
     * Waits at most `timeout`. Returns 0, e_Error_Timeout, or at once e_Error_InvalidArgument for
     * an invalid length of time.
     */
    [[nodiscard]] int timedWait(const timeval& timeout) {
        if (!IsValidTimeout(timeout)) {
            return e_Error_InvalidArgument;
        }
        Policy::assertBlockingIsAllowed();
        const timespec deadline = DeadlineAfter(timeout);
        int rc = 0;
        do {
            rc = sem_timedwait(&i_sem, &deadline);
        } while (rc == -1 && errno == EINTR);
        ASSERT(0 == rc || ETIMEDOUT == errno);
        return rc == 0 ? 0 : e_Error_Timeout;  // by rc: errno may be a stale ETIMEDOUT
    }

  private:
    sem_t i_sem;
};
