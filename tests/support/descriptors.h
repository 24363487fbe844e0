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
    return CountEntries("/proc/self/fd") - 1;  // without the one that reads the directory
}

/** Sets the limit of open descriptors. */
inline void LimitDescriptors(rlim_t limit) {
    rlimit limits = {};
    getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &limits);
}

}  // namespace testsupport
