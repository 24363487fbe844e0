#pragma once

#include <string>
#include <vector>

namespace testsupport {

/**
 * The log lines that a run has to show, to the letter: severity and message of each, the counter
 * worked out here. What differs from run to run is made alike in `Normalised`: the thread's handle
 * and the source position.
 */
class Transcript {
  public:
    Transcript& notice(const std::string& message) { return counted("NOTICE", message); }
    Transcript& warning(const std::string& message) { return counted("WARNING", message); }
    Transcript& error(const std::string& message) { return counted("ERROR", message); }
    Transcript& critical(const std::string& message) { return counted("CRITICAL", message); }
    /** A failed assertion: its line has no counter. */
    Transcript& assertion(const std::string& condition);

    const std::string& text() const { return i_text; }

  private:
    Transcript& counted(const char* severity, const std::string& message);

    unsigned i_counter = 0;
    std::string i_text;
};

/**
 * The run's output with "p:N" for the handle, as long as it is the first line's handle, and
 * "at POSITION" for a position with a path that is not absolute.
 */
std::string Normalised(const std::string& output);

}  // namespace testsupport
