#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <limits>
#include <thread>
#include <type_traits>
#include <utility>

#include "cpputils/include/returncodes.h"
#include "cpputils/include/thread/policies.h"
#include "tests/support/child.h"
#include "thread/pmutex.h"
#include "thread/sem.h"
#include "thread/threadregistrar.h"

using testing::ContainsRegex;
using testing::HasSubstr;
using testsupport::ChildResult;
using testsupport::RunInChild;

namespace {

using CriticalMutex = PMutexT<CriticalThreadCantBlockPolicy>;
using EveryMutex = PMutexT<EveryThreadCanBlockPolicy>;
using CriticalSem = SemT<CriticalThreadCantBlockPolicy>;
using EverySem = SemT<EveryThreadCanBlockPolicy>;

const timeval NOT_TIMES[] = {
    {-1, 0}, {0, -1}, {0, 1000000}, {std::numeric_limits<time_t>::max(), 0}};

static_assert(!std::is_copy_constructible_v<EveryMutex>);
static_assert(!std::is_copy_constructible_v<AutoLockT<EveryMutex>>);
static_assert(!std::is_copy_constructible_v<EverySem>);

/** The result of tryLock on another thread. */
template <typename Mutex>
int TryFromOutside(Mutex& mutex) {
    int result = -1;
    std::thread([&] {
        result = mutex.tryLock();
        if (result == 0) {
            mutex.unlock();
        }
    }).join();
    return result;
}

TEST(Mutex, AutoLockHoldsToTheEndOfItsScope) {
    EveryMutex mutex(PTHREAD_MUTEX_RECURSIVE);
    {
        const AutoLockT<EveryMutex> outer(mutex);
        { const AutoLockT<EveryMutex> inner(mutex); }
        const AutoLockT<EveryMutex> none;
        EXPECT_EQ(TryFromOutside(mutex), EBUSY);
    }
    EXPECT_EQ(TryFromOutside(mutex), 0);
}

/** For waits without the lock: its mutex reports them. */
class CheckedCondition : public PMutexWithCondImpl {
  public:
    CheckedCondition() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_destroy(&i_mutex);
        pthread_mutex_init(&i_mutex, &attributes);
    }
};

TEST(Mutex, FailingCallsAreReportedAndStop) {
    const std::pair<void (*)(), const char*> cases[] = {
        {[] {
             EveryMutex mutex(PTHREAD_MUTEX_NORMAL);
             mutex.lock();
         },
         "Assertion \"0 == pthread_mutex_destroy(&i_mutex)\" failed."},
        {[] {
             EveryMutex mutex(PTHREAD_MUTEX_ERRORCHECK);
             mutex.lock();
             mutex.lock();
         },
         "Assertion \"0 == pthread_mutex_lock(&i_mutex)\" failed."},
        {[] {
             EveryMutex mutex(PTHREAD_MUTEX_ERRORCHECK);
             mutex.unlock();
         },
         "Assertion \"0 == pthread_mutex_unlock(&i_mutex)\" failed."},
        {[] { const EveryMutex mutex(99); },
         "Assertion \"0 == pthread_mutexattr_settype(&attr, mutexType)\" failed."},
        {[] { CheckedCondition().wait(); },
         "Assertion \"0 == pthread_cond_wait(&i_cond,&i_mutex)\" failed."},
        {[] { (void)CheckedCondition().timedWait(timeval()); },
         "Assertion \"0 == rc || 110 == rc\" failed."},
        {[] { const EverySem semaphore(0xFFFFFFFF); },
         "Assertion \"0 == sem_init(&i_sem, 0, value)\" failed."},
        {[] {
             EverySem semaphore(0x7FFFFFFF);
             semaphore.post();
         },
         "Assertion \"0 == sem_post(&i_sem)\" failed."},
    };
    for (const auto& [body, report] : cases) {
        const ChildResult result = RunInChild(body);
        EXPECT_EQ(result.signal, SIGABRT) << report;
        EXPECT_THAT(result.out, HasSubstr(report));
    }
}

TEST(Condition, TimedWait) {
    PMutexWithCondImpl mutex;
    mutex.lock();
    for (const timeval& time : NOT_TIMES) {
        EXPECT_EQ(mutex.timedWait(time), e_Error_InvalidArgument);
    }
    EXPECT_EQ(mutex.timedWait({0, 1000}), e_Error_Timeout);
    EXPECT_EQ(mutex.tryLock(), EBUSY);  // held again
    mutex.unlock();
}

TEST(Condition, SignalAndBroadcastEndAWait) {
    PMutexWithCondImpl mutex;
    bool ready = false;
    const auto announce = [&](void (PMutexWithCondImpl::*wake)()) {
        return std::thread([&, wake] {
            mutex.lock();
            ready = true;
            (mutex.*wake)();
            mutex.unlock();
        });
    };
    mutex.lock();
    std::thread signaller = announce(&PMutexWithCondImpl::signal);
    while (!ready) {
        mutex.wait();
    }
    ready = false;
    std::thread broadcaster = announce(&PMutexWithCondImpl::broadcast);
    while (!ready) {
        EXPECT_EQ(mutex.timedWait({60, 0}), 0);
    }
    mutex.unlock();
    signaller.join();
    broadcaster.join();
}

TEST(Semaphore, TimedWait) {
    EverySem semaphore(1);
    for (const timeval& time : NOT_TIMES) {
        EXPECT_EQ(semaphore.timedWait(time), e_Error_InvalidArgument);
    }
    EXPECT_EQ(semaphore.timedWait({0, 0}), 0);
    EXPECT_EQ(semaphore.timedWait({0, 0}), e_Error_Timeout);
    EXPECT_EQ(semaphore.timedWait({0, 999999}), e_Error_Timeout);
    // The stale ETIMEDOUT in errno doesn't count.
    semaphore.post();
    EXPECT_EQ(semaphore.getvalue(), 1);
    EXPECT_EQ(semaphore.timedWait({0, 0}), 0);
    EXPECT_EQ(semaphore.tryWait(), -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST(Semaphore, SignalsDoNotEndAWait) {
    struct sigaction action = {};
    struct sigaction before = {};
    static std::atomic<int> caught{0};
    action.sa_handler = [](int) { ++caught; };  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);

    EverySem semaphore(0);
    std::atomic<int> ended{0};
    int timedResult = -1;
    std::thread waiter([&] {
        semaphore.wait();
        ++ended;
        timedResult = semaphore.timedWait({60, 0});
        ++ended;
    });
    for (int round = 0; round < 2; ++round) {
        for (const int seen = caught; caught < seen + 20;) {
            pthread_kill(waiter.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
        EXPECT_EQ(ended, round);
        semaphore.post();
        while (ended == round) {
            std::this_thread::yield();
        }
    }
    waiter.join();
    EXPECT_EQ(timedResult, 0);
    sigaction(SIGUSR1, &before, nullptr);
}

// In a child that is a FieldMain thread.
TEST(Policy, StopsACriticalThreadBeforeItCouldBlock) {
    const struct {
        const char* name;
        void (*body)();
        bool stops;
    } cases[] = {
        {"lock of a free mutex", [] { CriticalMutex(PTHREAD_MUTEX_NORMAL).lock(); }, true},
        {"auto lock",
         [] {
             CriticalMutex mutex(PTHREAD_MUTEX_NORMAL);
             const AutoLockT<CriticalMutex> lock(mutex);
         },
         true},
        {"wait for a posted semaphore", [] { CriticalSem(1).wait(); }, true},
        {"timed wait", [] { (void)CriticalSem(1).timedWait(timeval()); }, true},
        {"invalid timed wait", [] { (void)CriticalSem(1).timedWait(NOT_TIMES[0]); }, false},
        {"try operations and post",
         [] {
             CriticalMutex mutex(PTHREAD_MUTEX_NORMAL);
             (void)mutex.tryLock();
             mutex.unlock();
             CriticalSem semaphore(0);
             (void)semaphore.tryWait();
             semaphore.post();
         },
         false},
        {"lock for every thread",
         [] {
             EveryMutex mutex(PTHREAD_MUTEX_NORMAL);
             const AutoLockT<EveryMutex> lock(mutex);
             EverySem(1).wait();
         },
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ChildResult result = RunInChild([&] {
            EXPECT_EQ(ThreadRegistrar::instance().registerFieldMain(0), 0);
            c.body();
        });
        EXPECT_EQ(result.signal, c.stops ? SIGABRT : 0);
        if (c.stops) {
            EXPECT_THAT(result.out,
                        ContainsRegex("^S: EMERGENCY T: FM0 p:[0-9]+ \"Assertion "
                                      "\"ASSERT_BLOCKABLE_THREAD Failed\" failed\\.\" at "
                                      "cpputils/include/thread/policies\\.h:[0-9]+\\.\n$"));
            EXPECT_THAT(result.err, HasSubstr("Assertion `false' failed"));
        } else {
            EXPECT_EQ(result.out, "");
        }
    }
}

}  // namespace
