#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <ctime>

namespace campaign {

/** Sleeps while the word holds `value`, for at most `limit` (null: no limit). May return early. */
inline void FutexWait(std::atomic<uint32_t>& word, uint32_t value, const timespec* limit) {
    syscall(SYS_futex, &word, FUTEX_WAIT, value, limit, nullptr, 0);
}

inline void FutexWake(std::atomic<uint32_t>& word) {
    syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

}  // namespace campaign
