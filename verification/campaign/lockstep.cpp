/** liblockstep.so, preloaded into the tool: lets the far side set the tool's clock. See turns.h. */
#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/time.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "verification/campaign/futex.h"
#include "verification/campaign/turns.h"

namespace {

using campaign::Call;
using campaign::Turns;

Turns* turns = nullptr;

__attribute__((constructor)) void Join() {
    const char* descriptor = getenv(campaign::LOCKSTEP_VARIABLE);
    // A program that supervises the tool inherits the variable, but must not take part.
    if (descriptor == nullptr ||
        strcmp(program_invocation_short_name, campaign::LOCKSTEP_PROGRAM) != 0) {
        return;
    }
    void* memory = mmap(nullptr, sizeof(Turns), PROT_READ | PROT_WRITE, MAP_SHARED,
                        static_cast<int>(strtol(descriptor, nullptr, 10)), 0);
    if (memory == MAP_FAILED) {
        perror("liblockstep: cannot map the turns");
        abort();
    }
    turns = static_cast<Turns*>(memory);
}

/** Hands over the turn and waits to get it back, with a new time. Preserves errno. */
void HandOver(Call call) {
    const int error = errno;
    turns->call = call;
    turns->turn.store(campaign::e_FarSidesTurn, std::memory_order_release);
    campaign::FutexWake(turns->turn);
    while (turns->turn.load(std::memory_order_acquire) != campaign::e_ToolsTurn) {
        campaign::FutexWait(turns->turn, campaign::e_FarSidesTurn, nullptr);
    }
    errno = error;
}

/** The function of this name that this library hides. */
template <typename Function>
Function* Next(Function* /*ours*/, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int gettimeofday(timeval* time, void* zone) noexcept {
    if (turns == nullptr) {
        static auto* const next = Next(gettimeofday, "gettimeofday");
        return next(time, zone);
    }
    constexpr int64_t microsecondsPerSecond = 1000000;
    HandOver(Call::Clock);
    *time = {turns->now / microsecondsPerSecond, turns->now % microsecondsPerSecond};
    return 0;
}

extern "C" unsigned int sleep(unsigned int seconds) {
    if (turns == nullptr) {
        static auto* const next = Next(sleep, "sleep");
        return next(seconds);
    }
    HandOver(Call::Sleep);
    return 0;
}

// The compiler may turn the logger's vprintf into any of these. Some are inline functions in the C
// library's headers, so the definitions here have other names in C++.
extern "C" int Print(FILE* stream, const char* format, va_list arguments) __asm__("vfprintf");
extern "C" int PrintLine(const char* format, va_list arguments) __asm__("vprintf");
extern "C" int PrintChecked(FILE* stream, int flag, const char* format,
                            va_list arguments) __asm__("__vfprintf_chk");
extern "C" int PrintLineChecked(int flag, const char* format,
                                va_list arguments) __asm__("__vprintf_chk");

extern "C" int Print(FILE* stream, const char* format, va_list arguments) {
    static auto* const next = Next(Print, "vfprintf");
    if (turns != nullptr && stream == stdout) {
        HandOver(Call::Line);
    }
    return next(stream, format, arguments);
}

extern "C" int PrintLine(const char* format, va_list arguments) {
    return Print(stdout, format, arguments);
}

extern "C" int PrintChecked(FILE* stream, int /*flag*/, const char* format, va_list arguments) {
    return Print(stream, format, arguments);
}

extern "C" int PrintLineChecked(int /*flag*/, const char* format, va_list arguments) {
    return Print(stdout, format, arguments);
}

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = Next(pthread_mutex_lock, "pthread_mutex_lock");
    if (turns != nullptr) {
        if (++turns->locks == turns->killAtLock) {
            kill(getpid(), SIGKILL);
        }
        if (turns->atLocks) {
            HandOver(Call::Lock);
        }
    }
    return next(mutex);
}
