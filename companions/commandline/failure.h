#pragma once

#include <string>

namespace commandline {

/** One JSON object on one line: `format`, `error` and `exit_value`. */
std::string FailureAsJson(const std::string& text, int exitValue);

/**
 * Prints in one line on standard error why a program ends early and what to do. The text may
 * contain untrusted names and words, which are escaped here. With `json`, standard output gets
 * FailureAsJson() too.
 */
void ReportFailure(const std::string& program, const std::string& text, int exitValue, bool json);

}  // namespace commandline
