#pragma once

/**
 * Annotations for clang's lock analysis, which refuses code that reaches guarded data without the
 * lock (scripts/clang). For other compilers they are empty.
 *
 * The analysis ignores constructors and destructors, and treats a lambda as a function that holds
 * no lock. Data that is read without a lock by design is atomic and has no GUARDED_BY.
 */
#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

/** For classes: one that is a lock, and one that holds a lock until the end of its scope. */
#define CAPABILITY(kind) THREAD_ANNOTATION(capability(kind))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)

/** For data that may be used only with the lock held, and for pointers to such data. */
#define GUARDED_BY(lock) THREAD_ANNOTATION(guarded_by(lock))
#define PT_GUARDED_BY(lock) THREAD_ANNOTATION(pt_guarded_by(lock))

/** For functions that take the lock, release it, or take it if they return the given value. */
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))

/** For functions that may be called only with the lock held, or only without it. */
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

/** For the wrappers themselves, which implement what their annotations say. */
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)
