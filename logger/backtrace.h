#pragma once

#include "logger/logger.h"

/**
 * Reports of the stack. At CRASH every line goes through LogNoAlloc, at any other severity through
 * LogMessage. Symbol texts share one buffer without a lock, so two threads that report at the same
 * time may garble a line.
 */

/**
 * Logs "Address: 0x…, Symbol: 0x…" with the line of the symbol file, or NOT FOUND in its place. An
 * address of more than 32 bits, such as one in a shared library, is never found.
 */
void LogSymbol(void* address, e_LogSeverity severity);

/** Logs a banner, then a line for each caller, nearest first, at most 99. */
void LogBacktrace(e_LogSeverity severity);
