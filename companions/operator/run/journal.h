#pragma once

#include <chrono>
#include <string>

#include "companions/operator/run/outputqueue.h"
#include "companions/operator/toollog/logreader.h"

namespace run {

/**
 * Sends the log to the system's journal. Every entry has a priority. A report of the tool also has
 * its source position and, if it names one, its page. No call waits for the journal.
 */
class Journal {
  public:
    /** Whether a journal listens on this machine. Without one, entries are lost. */
    static bool listens();

    void report(const toollog::LogLine& line);
    /** The closing line, and the words of its cause. */
    void close(const std::string& text, const std::string& cause, bool isFailure);

    OutputQueue& queue() { return i_queue; }

  private:
    OutputQueue i_queue;
};

}  // namespace run
