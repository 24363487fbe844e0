#pragma once

/**
 * For a child between fork and exec: only calls that are safe there, even if another thread of the
 * parent held a lock.
 */

/**
 * Gives every signal its default action and blocks none: ignored signals and the mask survive exec.
 */
void ResetSignals();
/** Keeps the descriptor open across exec. */
void KeepOnExec(int fd);
/**
 * Ends a child whose exec failed, with the exit value that a shell uses for that. Neither flushes
 * the parent's buffered output a second time nor runs its destructors.
 */
[[noreturn]] void EndFailedExec();
