#pragma once

#include <functional>
#include <string>

namespace testsupport {

/** What a child process left behind. */
struct ChildResult {
    /** The value given to exit, or -1 where a signal ended it. */
    int exitValue = -1;
    /** The signal that ended it, or 0. */
    int signal = 0;
    std::string out;
    std::string err;
};

/**
 * Runs `body` in a forked child whose standard output and error are files, fully buffered as for
 * any program behind a pipe, and collects both. A body that returns ends the child with exit value
 * 0, its output flushed; one that aborts leaves just what the code under test flushed, and one that
 * throws is aborted.
 *
 * Throws std::runtime_error where there are no files or no child to be had.
 */
ChildResult RunInChild(const std::function<void()>& body);

}  // namespace testsupport
