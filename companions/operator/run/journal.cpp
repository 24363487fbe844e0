#include "companions/operator/run/journal.h"

#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>

#include <numeric>
#include <vector>

// Entries carry the tool's source position, not this file's.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "companions/operator/toollog/texts.h"

namespace run {

namespace {

constexpr char SOCKET[] = "/run/systemd/journal/socket";

/** NAME=value each. */
using Fields = std::vector<std::string>;

int PriorityOf(const std::string& severity) {
    static constexpr const char* severities[] = {"EMERGENCY", "ALERT",  "CRITICAL", "ERROR",
                                                 "WARNING",   "NOTICE", "INFO"};
    int priority = LOG_EMERG;
    for (const char* name : severities) {
        if (severity == name) {
            return priority;
        }
        ++priority;
    }
    return priority;
}

void AddPage(Fields& fields, const toollog::LogLine& line) {
    const toollog::Recognised found = toollog::Recognise(line.severity, line.message);
    if (found.text == toollog::e_LogText_PageVerdict ||
        found.text == toollog::e_LogText_PageFailed) {
        fields.push_back("TOLMIRA_PAGE=" + found.values[0]);
    }
}

void Send(const Fields& fields) {
    std::vector<iovec> parts;
    for (const std::string& field : fields) {
        parts.push_back({const_cast<char*>(field.data()), field.size()});
    }
    // An entry that the journal refuses must not end the run.
    (void)sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
}

void Put(OutputQueue& queue, const Fields& fields) {
    const std::size_t size = std::accumulate(
        fields.begin(), fields.end(), std::size_t{0},
        [](std::size_t sum, const std::string& field) { return sum + field.size(); });
    queue.put([fields] { Send(fields); }, size);
}

}  // namespace

bool Journal::listens() {
    struct stat socket = {};
    return stat(SOCKET, &socket) == 0 && S_ISSOCK(socket.st_mode);
}

void Journal::report(const toollog::LogLine& line) {
    Fields fields = {"MESSAGE=" + toollog::WithoutNewline(line.message),
                     "PRIORITY=" + std::to_string(PriorityOf(line.severity))};
    if (!line.file.empty()) {
        fields.push_back("CODE_FILE=" + line.file);
        fields.push_back("CODE_LINE=" + line.line);
    }
    AddPage(fields, line);
    Put(i_queue, fields);
}

void Journal::close(const std::string& text, const std::string& cause, bool isFailure) {
    Put(i_queue, {"MESSAGE=" + text, "PRIORITY=" + std::to_string(isFailure ? LOG_ERR : LOG_NOTICE),
                  "TOLMIRA_CAUSE=" + cause});
}

}  // namespace run
