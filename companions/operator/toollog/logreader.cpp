#include "companions/operator/toollog/logreader.h"

#include <algorithm>

namespace toollog {

namespace {

constexpr char POSITION[] = "\" at ";

/** Walks along a line from its start; each step is false, and goes nowhere, if it doesn't fit. */
class Steps {
  public:
    explicit Steps(const std::string& line) : i_line(line) {}

    bool text(const std::string& wanted) {
        const bool fits = i_line.compare(i_at, wanted.size(), wanted) == 0;
        i_at += fits ? wanted.size() : 0;
        return fits;
    }
    bool number() { return run(i_line.find_first_not_of("0123456789", i_at)); }
    bool word() { return run(i_line.find_first_of(" \n", i_at)); }

    std::size_t at() const { return i_at; }

  private:
    bool run(std::size_t found) {
        const std::size_t end = std::min(found, i_line.size());
        const bool fits = end > i_at;
        i_at = end;
        return fits;
    }

    const std::string& i_line;
    std::size_t i_at = 0;
};

/** Where the message begins in a line that starts a report, and the severity; 0 elsewhere. */
std::size_t StartOfMessage(const std::string& line, std::string& severity) {
    Steps steps(line);
    if (steps.text("C: ") && !(steps.number() && steps.text(" "))) {
        return 0;
    }
    if (!steps.text("S: ")) {
        return 0;
    }
    const std::size_t from = steps.at();
    if (!steps.word()) {
        return 0;
    }
    severity = line.substr(from, steps.at() - from);
    return steps.text(" T: p:") && steps.number() && steps.text(" \"") ? steps.at() : 0;
}

/** Whether a line ends in a source file and a line number. */
bool EndsInPosition(const std::string& line) {
    const std::size_t position = line.rfind(POSITION);
    const std::size_t colon = line.rfind(':');
    return position != std::string::npos && colon != std::string::npos && colon > position &&
           line.back() == '.' && colon + 2 < line.size() &&
           line.find_first_not_of("0123456789", colon + 1) == line.size() - 1;
}

}  // namespace

void LogReader::take(const char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] != '\n') {
            i_line += bytes[i];
        } else {
            takeLine();
        }
    }
}

void LogReader::takeLine() {
    std::string severity;
    const bool starts = StartOfMessage(i_line, severity) != 0;
    if (starts) {
        handOver();
    }
    if (starts || !i_report.empty()) {
        i_report += i_line + '\n';
        if (EndsInPosition(i_line)) {
            handOver();
        }
    }
    i_line.clear();
}

void LogReader::handOver() {
    LogLine line;
    const std::size_t from = StartOfMessage(i_report, line.severity);
    if (from != 0) {
        const std::size_t end = i_report.rfind(POSITION);
        line.message = i_report.substr(from, end == std::string::npos ? end : end - from);
        i_sink(line);
    }
    i_report.clear();
}

void LogReader::finish() {
    if (!i_line.empty()) {
        takeLine();
    }
    handOver();
}

}  // namespace toollog
