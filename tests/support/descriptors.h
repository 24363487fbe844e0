#pragma once

#include <sys/resource.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>

namespace testsupport {

inline std::ptrdiff_t CountEntries(const std::string& directory) {
    const std::filesystem::directory_iterator entries(directory);
    return std::distance(begin(entries), end(entries));
}

/** The descriptors that this process has open. */
inline std::ptrdiff_t CountDescriptors() {
    return CountEntries("/proc/self/fd") - 1;  // but the one that reads the list
}

/** Lets the process open descriptors up to `limit` only, or, above it, at least that many. */
inline void LimitDescriptors(rlim_t limit) {
    rlimit limits = {};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &limits);
}

}  // namespace testsupport
