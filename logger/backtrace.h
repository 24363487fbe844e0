#pragma once

#include "logger/logger.h"

/**
 * Reports on the stack. At CRASH every line goes through LogNoAlloc, at any other severity through
 * LogMessage. The text of a symbol passes through one buffer, without a lock: two threads that
 * report at once may garble a line.
 */

/**
 * "Address: 0x…, Symbol: 0x…" with the line of the symbol file, or NOT FOUND. An address of more
 * than 32 bits, as those in shared libraries, is never found.
 */
void LogSymbol(void* address, e_LogSeverity severity);

/** A banner and a line for each caller, from the nearest on, at most 99. */
void LogBacktrace(e_LogSeverity severity);
