#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace toollog {

/** One report of the tool, the message without its quotes. */
struct LogLine {
    std::string severity;
    std::string message;
    /** Where the tool reports it; empty if the report was cut off before that. */
    std::string file = {};
    std::string line = {};
};

/**
 * Cuts the tool's output into its reports, however it arrives.
 *
 * A report begins at a line that starts as the logger's do and ends with the source position,
 * mostly on a later line: a message has newlines of its own, and a file name in it may hold
 * anything. So a start counts only with the thread handle of the first report, and with the next
 * number where it has a counter; only an emergency has none. A file name is chosen before the
 * handle is known, and can't forge a report. A report that the next one cuts off counts with what
 * there is of it; lines outside of any report are passed over.
 *
 * Memory is bounded: of a line or a report that is longer than the logger's limits allow, the
 * beginning is kept.
 */
class LogReader {
  public:
    using Sink = std::function<void(const LogLine&)>;

    explicit LogReader(Sink sink) : i_sink(std::move(sink)) {}

    /** Hands each report to the sink as soon as its last byte is there. */
    void take(const char* bytes, std::size_t count);
    /** The end of the output: an incomplete report is handed over too. */
    void finish();

    /** Bytes that are kept. A message has at most 1023, and the rest of its line a few hundred. */
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
