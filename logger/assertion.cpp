#include "logger/assertion.h"

#include <cstdio>

// The C library declares its failure function only where its own assert is active.
#undef NDEBUG
#include <cassert>

void StopOnFailedAssertion(const char* text, const char* file, unsigned line,
                           const char* function) {
    // abort() drops what is still buffered, and with a pipe that would be the report itself.
    fflush(stdout);
    __assert_fail(text, file, line, function);
}
