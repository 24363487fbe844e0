#pragma once

#include <semaphore.h>
#include <sys/time.h>

#include <cerrno>

#include "cpputils/include/returncodes.h"
#include "logger/assertion.h"
#include "thread/deadline.h"

/**
 * An unnamed semaphore of this process whose waits ask `Policy` first. A failing call is a
 * programming error and ends in an assertion; a signal doesn't end a wait.
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

    /** 0, or -1 with errno set; never sleeps. */
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
     * Waits at most `timeout`, a length of time. 0, e_Error_Timeout, or e_Error_InvalidArgument at
     * once for a timeout that is none.
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
