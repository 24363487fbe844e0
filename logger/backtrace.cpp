#include "logger/backtrace.h"

#include <execinfo.h>

#include <cstdint>
#include <limits>

#include "logger/symbolmap.h"

namespace {

constexpr int MOST_FRAMES = 100;

char symbolText[100000];

bool FindSymbol(uintptr_t address) {
    return address <= std::numeric_limits<uint32_t>::max() &&
           GetSymbolText(static_cast<uint32_t>(address), symbolText, sizeof symbolText);
}

// A macro, because both functions take a format and the position of their caller.
#define LOG_AT(severity, ...)                                                         \
    ((severity) == e_LogSeverity_CRASH                                                \
         ? LogNoAlloc(severity, __PRETTY_FUNCTION__, __FILE__, __LINE__, __VA_ARGS__) \
         : LogMessage(severity, __PRETTY_FUNCTION__, __FILE__, __LINE__, __VA_ARGS__))

}  // namespace

void LogSymbol(void* address, e_LogSeverity severity) {
    const auto number = reinterpret_cast<uintptr_t>(address);
    if (FindSymbol(number)) {
        LOG_AT(severity, "Address: 0x%08lx, Symbol: 0x%s", number, symbolText);
    } else {
        LOG_AT(severity, "Address: 0x%08lx, Symbol: NOT FOUND", number);
    }
}

// Not inlined: the loop skips one frame, which must be this function's own.
__attribute__((noinline)) void LogBacktrace(e_LogSeverity severity) {
    void* frames[MOST_FRAMES] = {};
    const int count = backtrace(frames, MOST_FRAMES);
    LOG_AT(severity, "%s",
           severity == e_LogSeverity_CRASH ? "backtrace" : "  *** Backtrace Follows ***  ");
    for (int i = 1; i < count; ++i) {
        LogSymbol(frames[i], severity);
    }
}
