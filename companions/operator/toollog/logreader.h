#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace toollog {

/** One report of the tool; the message is without its quotes. */
struct LogLine {
    std::string severity;
    std::string message;
    /** Source position; empty if the report was cut off before it. */
    std::string file = {};
    std::string line = {};
};

/**
 * Splits the tool's output, which arrives in pieces of any size, into reports.
 *
 * A report begins with a line in the logger's format and ends with a source position. That is
 * usually on a later line, since messages contain newlines. A file name in a message may contain
 * anything. Therefore a line begins a report only if it has the thread handle of the first report
 * and the next counter value. EMERGENCY reports have no counter. File names are chosen before the
 * handle is known, so they can't forge a report. If a new report cuts one off, the part before it
 * is used. Lines outside of reports are ignored.
 *
 * Memory is bounded: only the beginning of an overlong line or report is kept.
 */
class LogReader {
  public:
    using Sink = std::function<void(const LogLine&)>;

    explicit LogReader(Sink sink) : i_sink(std::move(sink)) {}

    /** Calls the sink for each report as soon as it is complete. */
    void take(const char* bytes, std::size_t count);
    /** To be called at the end of the output: an incomplete report goes to the sink too. */
    void finish();

    /** In bytes. A message has at most 1023, and the rest of its line a few hundred. */
    static constexpr std::size_t LONGEST_LINE = 4096;
    static constexpr std::size_t LONGEST_REPORT = 8192;

  private:
    struct Start;

    void takeLine();
    bool begins(const std::string& line, Start& start);
    void handOver();
    void addPosition(LogLine& report, std::size_t from) const;

    Sink i_sink;
    /** The line that is arriving, and the report that it may belong to. */
    std::string i_line;
    std::string i_report;
    /** Of the report: its severity, and where its message begins. */
    std::string i_severity;
    std::size_t i_message = 0;
    /** The thread handle in the tool's reports, empty before the first. */
    std::string i_thread;
    /** The last report's counter. */
    unsigned i_counter = 0;
};

}  // namespace toollog
