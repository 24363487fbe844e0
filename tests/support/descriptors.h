#pragma once

#include <sys/resource.h>

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace testsupport {

/** The descriptors that this process has open. */
inline std::ptrdiff_t CountDescriptors() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::distance(begin(open), end(open)) - 1;  // but the one that reads the list
}

/** Lets the process open descriptors up to `limit` only, or, above it, at least that many. */
inline void LimitDescriptors(rlim_t limit) {
    rlimit limits = {};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &limits);
}

}  // namespace testsupport
