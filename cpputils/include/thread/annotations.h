#pragma once

/**
 * What clang is told of locks, so that it refuses code that reaches guarded data without them
 * (scripts/clang). Other compilers see nothing.
 *
 * The analysis doesn't look into constructors and destructors, and treats a lambda as a function
 * that holds no lock. What is read without a lock by design is an atomic and carries no GUARDED_BY.
 */
#if defined(__clang__)
#define THREAD_ANNOTATION(x) __attribute__((x))
#else
#define THREAD_ANNOTATION(x)
#endif

/** A class that is a lock; a class that holds one to the end of its scope. */
#define CAPABILITY(kind) THREAD_ANNOTATION(capability(kind))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)

/** Data: to be touched only with the lock held; for a pointer, what it points at. */
#define GUARDED_BY(lock) THREAD_ANNOTATION(guarded_by(lock))
#define PT_GUARDED_BY(lock) THREAD_ANNOTATION(pt_guarded_by(lock))

/** Functions: take the lock, give it back, take it if the result is the given one. */
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))

/** Functions: to be called only with the lock held; only without it. */
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

/** For the wrappers themselves, whose bodies do what their annotations say. */
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)
