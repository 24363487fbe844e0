#pragma once

/**
 * For a child between fork and exec: only calls that are safe there, even if another thread of the
 * parent held a lock.
 */

/**
 * Gives every signal its default action and unblocks all of them, because ignored signals and the
 * mask survive exec.
 */
void ResetSignals();
/** Keeps the descriptor open across exec. */
void KeepOnExec(int fd);
/**
 * Ends a child whose exec failed with the exit value 127, as a shell does. Neither flushes the
 * parent's buffered output a second time nor runs its destructors.
 */
[[noreturn]] void EndFailedExec();
