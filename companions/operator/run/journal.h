#pragma once

#include <chrono>
#include <string>

#include "companions/operator/run/outputqueue.h"
#include "companions/operator/toollog/logreader.h"

namespace run {

/**
 * The system's journal as the place of the log. Each entry has a priority; a report of the tool has
 * its own source position too, and its page if it names one. Nothing here waits for the journal.
 */
class Journal {
  public:
    /** Whether a journal listens on this machine. Without one, entries vanish. */
    static bool listens();

    void report(const toollog::LogLine& line);
    /** How the run came out, with one of the causes' words. */
    void close(const std::string& text, const std::string& cause, bool isFailure);

    OutputQueue& queue() { return i_queue; }

  private:
    OutputQueue i_queue;
};

}  // namespace run
