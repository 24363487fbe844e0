#pragma once

#include <string>

namespace commandline {

/** One JSON object on one line: `format`, `error` and `exit_value`. */
std::string FailureAsJson(const std::string& text, int exitValue);

/**
 * Tells on standard error, in one line, why a program ends early and what to do. The text may hold
 * names and words from outside, which are escaped here. If JSON was asked for, standard output gets
 * FailureAsJson() too.
 */
void ReportFailure(const std::string& program, const std::string& text, int exitValue, bool json);

}  // namespace commandline
