#pragma once

#include <string>
#include <vector>

namespace testsupport {

/**
 * The expected log lines of a run. It computes their counters. `Normalised` replaces what differs
 * from run to run: the thread's handle and the source position.
 */
class Transcript {
  public:
    Transcript& notice(const std::string& message) { return counted("NOTICE", message); }
    Transcript& warning(const std::string& message) { return counted("WARNING", message); }
    Transcript& error(const std::string& message) { return counted("ERROR", message); }
    Transcript& critical(const std::string& message) { return counted("CRITICAL", message); }
    /** A failed assertion, a line without a counter. */
    Transcript& assertion(const std::string& condition);

    const std::string& text() const { return i_text; }

  private:
    Transcript& counted(const char* severity, const std::string& message);

    unsigned i_counter = 0;
    std::string i_text;
};

/**
 * The run's output with two replacements: "p:N" for the handle if it is the same as in the first
 * line, and "at POSITION" for a position with a relative path.
 */
std::string Normalised(const std::string& output);

}  // namespace testsupport
