#pragma once

#include <ostream>
#include <string>

namespace controller {

/**
 * What the controller says while it runs, one line each: events always, the decoded conversation if
 * it is asked for, and faults and findings, which are counted too. A fault is what the controller
 * did wrong on purpose, when it did it. A finding is anything that a faultless upgrade would not
 * have shown, the consequences of a fault among them.
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
    // Flushed line by line: whoever waits for an event reads it from a pipe or a file.
    void line(const char* kind, const std::string& text) {
        i_out << kind << text << '\n' << std::flush;
    }

    std::ostream& i_out;
    bool i_tracing;
    unsigned i_faults = 0;
    unsigned i_findings = 0;
};

}  // namespace controller
