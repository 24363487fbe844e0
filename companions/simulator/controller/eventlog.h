#pragma once

#include <ostream>
#include <string>

namespace controller {

/**
 * The controller's log, one line per entry. Events are always written, and traces, the decoded
 * messages, on request. Faults and findings are also counted. A fault is an injected error at the
 * moment it acts. A finding is anything that a faultless upgrade would not show, including the
 * consequences of a fault.
 *
 * Borrows the stream.
 */
class EventLog {
  public:
    EventLog(std::ostream& out, bool tracing) : i_out(out), i_tracing(tracing) {}

    void event(const std::string& text) { line("controller: ", text); }
    void trace(const std::string& text) {
        if (i_tracing) {
            line("trace: ", text);
        }
    }
    void fault(const std::string& text) {
        ++i_faults;
        line("fault: ", text);
    }
    void finding(const std::string& text) {
        ++i_findings;
        line("finding: ", text);
    }

    bool tracing() const { return i_tracing; }
    unsigned faults() const { return i_faults; }
    unsigned findings() const { return i_findings; }

  private:
    // Flushed after each line, since others wait for events through a pipe or a file.
    void line(const char* kind, const std::string& text) {
        i_out << kind << text << '\n' << std::flush;
    }

    std::ostream& i_out;
    bool i_tracing;
    unsigned i_faults = 0;
    unsigned i_findings = 0;
};

}  // namespace controller
