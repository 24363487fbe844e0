#pragma once

#include <functional>
#include <string>
#include <vector>

namespace testsupport {

/** The result of a child process. */
struct ChildResult {
    /** The value given to exit; -1 if a signal ended it. */
    int exitValue = -1;
    /** The signal that ended it, or 0. */
    int signal = 0;
    std::string out;
    std::string err;
};

/** A result without output, from the status that waitpid returned. */
ChildResult ResultOf(int status);

/** Null-terminated pointers to the texts, in the form that exec takes. Borrows the texts. */
std::vector<char*> Pointers(std::vector<std::string>& texts);

/**
 * Runs `body` in a forked child and collects its standard output and error. Both are files, and
 * standard output is fully buffered.
 *
 * If the body returns, the child flushes its output and exits with 0. If the body aborts, only what
 * the code under test has flushed is left. An exception aborts the child.
 *
 * Throws std::runtime_error if it cannot create the files or the child.
 */
ChildResult RunInChild(const std::function<void()>& body);

}  // namespace testsupport
