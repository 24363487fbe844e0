#include "logger/assertion.h"

#include <cstdio>

// The C library declares its failure function only where its own assert is active.
#undef NDEBUG
#include <cassert>

void StopOnFailedAssertion(const char* text, const char* file, unsigned line,
                           const char* function) {
    // abort() discards buffered output. With a pipe that would include the report.
    fflush(stdout);
    __assert_fail(text, file, line, function);
}
