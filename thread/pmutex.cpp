#include "thread/pmutex.h"

#include <cerrno>

#include "cpputils/include/returncodes.h"
#include "thread/deadline.h"

PMutexImpl::PMutexImpl(int mutexType) : i_mutex() {
    pthread_mutexattr_t attr;
    ASSERT(0 == pthread_mutexattr_init(&attr));
    ASSERT(0 == pthread_mutexattr_settype(&attr, mutexType));
    ASSERT(0 == pthread_mutex_init(&i_mutex, &attr));
    ASSERT(0 == pthread_mutexattr_destroy(&attr));
}

PMutexImpl::~PMutexImpl() {
    ASSERT(0 == pthread_mutex_destroy(&i_mutex));
}

PMutexWithCondImpl::PMutexWithCondImpl() : PMutexImpl(PTHREAD_MUTEX_NORMAL), i_cond() {
    // NOLINTNEXTLINE(modernize-use-nullptr): the report shows the expanded NULL
    ASSERT(0 == pthread_cond_init(&i_cond, NULL));
}

PMutexWithCondImpl::~PMutexWithCondImpl() {
    ASSERT(0 == pthread_cond_destroy(&i_cond));
}

void PMutexWithCondImpl::wait() {
    // The report shows the expression with exactly these blanks.
    // clang-format off
    ASSERT(0 == pthread_cond_wait(&i_cond,&i_mutex));
    // clang-format on
}

int PMutexWithCondImpl::timedWait(const timeval& timeout) {
    if (!IsValidTimeout(timeout)) {
        return e_Error_InvalidArgument;
    }
    const timespec deadline = DeadlineAfter(timeout);
    const int rc = pthread_cond_timedwait(&i_cond, &i_mutex, &deadline);
    ASSERT(0 == rc || ETIMEDOUT == rc);
    return rc == 0 ? 0 : e_Error_Timeout;
}

void PMutexWithCondImpl::signal() {
    ASSERT(0 == pthread_cond_signal(&i_cond));
}

void PMutexWithCondImpl::broadcast() {
    ASSERT(0 == pthread_cond_broadcast(&i_cond));
}
