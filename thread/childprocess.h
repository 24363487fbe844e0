#pragma once

/**
 * For a child between fork and exec: only calls that are safe there, even when another thread of
 * the parent held a lock.
 */

/** Ignored signals and the mask survive exec: gives every signal its default and blocks none. */
void ResetSignals();
/** Lets the descriptor pass to the next program. */
void KeepOnExec(int fd);
/**
 * The end of a child whose exec failed, as a shell tells it. Neither flushes the parent's buffered
 * output a second time nor runs its destructors.
 */
[[noreturn]] void EndFailedExec();
