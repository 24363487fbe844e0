#pragma once

#include "logger/assertion.h"
#include "thread/threadregistrar.h"

// All of this is inline down to the registrar's slots: it stands in front of each mailbox access.

/** True for a thread that holds a FieldMain slot of the ThreadRegistrar. Lock-free. */
[[gnu::always_inline]] inline bool IsCurrentThreadCritical() {
    return ThreadRegistrar::instance().isFieldMain();
}

/**
 * Stops the process if the calling thread is a time-critical one. It stands at the head of every
 * operation that may sleep, and fires whether or not the operation would sleep this time.
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
