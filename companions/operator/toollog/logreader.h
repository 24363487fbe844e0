#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace toollog {

/** One report of the tool, the message without its quotes. */
struct LogLine {
    std::string severity;
    std::string message;
};

/**
 * Cuts the tool's output into its reports, however it arrives.
 *
 * A report begins at a line that starts as the logger's do, with or without a counter, and ends
 * with the source position, mostly on a later line: a message has newlines of its own, and a file
 * name in it may hold anything. A report that the next one cuts off counts with what there is of
 * it; lines outside of any report are passed over.
 */
class LogReader {
  public:
    using Sink = std::function<void(const LogLine&)>;

    explicit LogReader(Sink sink) : i_sink(std::move(sink)) {}

    /** Hands each report to the sink as soon as its last byte is there. */
    void take(const char* bytes, std::size_t count);
    /** The end of the output: what stands incomplete is handed over too. */
    void finish();

  private:
    void takeLine();
    void handOver();

    Sink i_sink;
    /** The line that is arriving, and the report that it may belong to. */
    std::string i_line;
    std::string i_report;
};

}  // namespace toollog
