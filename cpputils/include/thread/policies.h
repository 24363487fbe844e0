#pragma once

#include "logger/assertion.h"
#include "thread/threadregistrar.h"

// Inline up to the load of the registrar's flag, because each mailbox access checks it.

/** True for a thread that holds a FieldMain slot of the ThreadRegistrar. Lock-free. */
[[gnu::always_inline]] inline bool IsCurrentThreadCritical() {
    return ThreadRegistrar::mayHaveFieldMain() && ThreadRegistrar::instance().isFieldMain();
}

/**
 * Stops the process if the calling thread is time-critical. Every operation that may sleep calls it
 * first, so it stops the process even if the operation would not have slept this time.
 */
#define ASSERT_BLOCKABLE_THREAD()                               \
    do {                                                        \
        if (__builtin_expect(IsCurrentThreadCritical(), 0)) {   \
            STOP_WITH_REPORT("ASSERT_BLOCKABLE_THREAD Failed"); \
        }                                                       \
    } while (false)

/** For locks that a time-critical thread may take. */
class EveryThreadCanBlockPolicy {
  public:
    static void assertBlockingIsAllowed() {}
};

/** For locks that a time-critical thread must never wait for. */
class CriticalThreadCantBlockPolicy {
  public:
    [[gnu::always_inline]] static void assertBlockingIsAllowed() { ASSERT_BLOCKABLE_THREAD(); }
};
