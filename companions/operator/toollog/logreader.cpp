#include "companions/operator/toollog/logreader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace toollog {

namespace {

constexpr char POSITION[] = "\" at ";

/** Parses a line from its start. A step that doesn't match returns false and consumes nothing. */
class Steps {
  public:
    explicit Steps(const std::string& line) : i_line(line) {}

    bool text(const std::string& wanted) {
        const bool fits = i_line.compare(i_at, wanted.size(), wanted) == 0;
        i_at += fits ? wanted.size() : 0;
        return fits;
    }
    bool number(std::string& digits) {
        return run(i_line.find_first_not_of("0123456789", i_at), digits);
    }
    bool word(std::string& found) { return run(i_line.find_first_of(" \n", i_at), found); }

    std::size_t at() const { return i_at; }

  private:
    bool run(std::size_t found, std::string& passed) {
        passed = i_line.substr(i_at, std::min(found, i_line.size()) - i_at);
        i_at += passed.size();
        return !passed.empty();
    }

    const std::string& i_line;
    std::size_t i_at = 0;
};

/** Whether a line ends in a source file and a line number. */
bool EndsInPosition(const std::string& line) {
    const std::size_t position = line.rfind(POSITION);
    const std::size_t colon = line.rfind(':');
    return position != std::string::npos && colon != std::string::npos && colon > position &&
           line.back() == '.' && colon + 2 < line.size() &&
           line.find_first_not_of("0123456789", colon + 1) == line.size() - 1;
}

}  // namespace

/** The beginning of a report. */
struct LogReader::Start {
    /** Empty for a report without one. */
    std::string counter;
    std::string severity;
    std::string thread;
    std::size_t message;
};

namespace {

constexpr unsigned COUNTER_LIMIT = 1000;
constexpr char WITHOUT_COUNTER[] = "EMERGENCY";

}  // namespace

bool LogReader::begins(const std::string& line, Start& start) {
    Steps steps(line);
    if (steps.text("C: ") && !(steps.number(start.counter) && steps.text(" "))) {
        return false;
    }
    const bool fits = steps.text("S: ") && steps.word(start.severity) && steps.text(" T: p:") &&
                      steps.number(start.thread) && steps.text(" \"");
    start.message = steps.at();
    if (!fits || (!i_thread.empty() && start.thread != i_thread)) {
        return false;
    }
    if (start.counter.empty()) {
        return start.severity == WITHOUT_COUNTER;
    }
    const unsigned next = (i_counter + 1) % COUNTER_LIMIT;
    return start.counter.size() == 3 && strtoul(start.counter.c_str(), nullptr, 10) == next;
}

void LogReader::take(const char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\n') {
            takeLine();
        } else if (i_line.size() < LONGEST_LINE) {
            i_line += bytes[i];
        }
    }
}

void LogReader::takeLine() {
    Start start;
    const bool starts = begins(i_line, start);
    if (starts) {
        handOver();
        i_thread = start.thread;
        i_counter = (i_counter + (start.counter.empty() ? 0 : 1)) % COUNTER_LIMIT;
        i_severity = start.severity;
        i_message = start.message;
    }
    if (starts || !i_report.empty()) {
        i_report.append(i_line + '\n', 0, LONGEST_REPORT - i_report.size());
        if (EndsInPosition(i_line)) {
            handOver();
        }
    }
    i_line.clear();
}

void LogReader::handOver() {
    if (!i_report.empty()) {
        const std::size_t end = i_report.rfind(POSITION);
        const bool whole = end != std::string::npos && end >= i_message;
        LogLine report{i_severity, i_report.substr(i_message, whole ? end - i_message : end)};
        if (whole) {
            addPosition(report, end + strlen(POSITION));
        }
        i_sink(report);
    }
    i_report.clear();
}

void LogReader::addPosition(LogLine& report, std::size_t from) const {
    const std::size_t colon = i_report.rfind(':');
    if (colon != std::string::npos && colon > from) {
        report.file = i_report.substr(from, colon - from);
        report.line = i_report.substr(colon + 1, i_report.rfind('.') - colon - 1);
    }
}

void LogReader::finish() {
    if (!i_line.empty()) {
        takeLine();
    }
    handOver();
}

}  // namespace toollog
