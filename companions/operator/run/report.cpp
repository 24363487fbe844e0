#include "companions/operator/run/report.h"

#include <unistd.h>

#include <ctime>

#include "companions/jsonvalue/jsonvalue.h"
#include "companions/toolcontract/toolcontract.h"

namespace run {

namespace {

constexpr int FORMAT = 1;

template <typename T>
JsonValue OrNull(const std::optional<T>& value) {
    return value ? JsonValue(*value) : JsonValue(nullptr);
}

JsonValue OrNull(const std::string& text) {
    return text.empty() ? JsonValue(nullptr) : JsonValue(text);
}

std::string HostName() {
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

/** The page that ended the run. `why` is the first attempt's, which may have caused the others. */
JsonValue FailedPage(const toollog::RunRecord& record) {
    std::vector<std::string> words;
    for (const toollog::e_Attempt attempt : record.attempts()) {
        words.emplace_back(WordsOf(attempt));
    }
    return {{"page", *record.failedPage()}, {"why", words.front()}, {"attempts", words}};
}

/** The version is known only for the tool beside this program. */
JsonValue Tool(const RunSettings& settings, const Outcome& outcome) {
    const std::optional<Ending>& ending = outcome.tool;
    const bool exited = ending && ending->signal == 0;
    const bool own = settings.tool == ToolBesideThisProgram();
    return {{"path", settings.tool},
            {"arguments", settings.toolArguments},
            {"version", own ? JsonValue(TOLMIRA_VERSION) : JsonValue(nullptr)},
            {"revision", own ? JsonValue(toolcontract::TOOL_REVISION) : JsonValue(nullptr)},
            {"exit_value", exited ? JsonValue(ending->exitValue) : JsonValue(nullptr)},
            {"signal", ending && !exited ? JsonValue(ending->signal) : JsonValue(nullptr)}};
}

JsonValue Image(const RunSettings& settings, const CheckedImage& facts) {
    return {{"name", OrNull(settings.operands.image)},
            {"size", OrNull(facts.size)},
            {"sha256", OrNull(facts.sha256)}};
}

JsonValue Previous(const std::optional<Marker>& marker) {
    if (!marker) {
        return nullptr;
    }
    return {
        {"pid", marker->pid}, {"start", OrNull(marker->start)}, {"report", OrNull(marker->report)}};
}

/** Adds the log's results. */
void AddLog(JsonValue& report, const Outcome& outcome) {
    const toollog::RunRecord& record = outcome.record;
    report["pages"] = OrNull(record.pages());
    report["pages_sent"] = record.pagesSent();
    report["failed_attempts"] = record.failedAttempts();
    report["failed_page"] = record.failedPage() ? FailedPage(record) : JsonValue(nullptr);
    report["assertion"] = OrNull(record.assertion());
    report["troubles"] = record.troubles();
}

}  // namespace

std::string TimeText() {
    const time_t now = time(nullptr);
    tm parts = {};
    gmtime_r(&now, &parts);
    char text[32];
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

std::string ReportOf(const RunSettings& settings, const Outcome& outcome, int exitValue,
                     const Times& times) {
    JsonValue report = {
        {"format", FORMAT},
        {"cause", toollog::CAUSE_ROWS[outcome.cause].words},
        {"happened", HappenedText(outcome)},
        {"next_step", NextStepOf(outcome)},
        {"exit_value", exitValue},
        {"signal", outcome.signal != 0 ? JsonValue(outcome.signal) : JsonValue(nullptr)},
        {"start", times.start},
        {"end", times.end},
        {"seconds", times.seconds},
        {"host", HostName()},
        {"runner_version", TOLMIRA_VERSION},
        {"tool", Tool(settings, outcome)},
        {"image", Image(settings, outcome.image)},
        {"configuration", OrNull(settings.operands.configuration)},
        {"revision_before", OrNull(outcome.revisionBefore)},
        {"revision_after", OrNull(outcome.revisionAfter)},
        {"recovered", outcome.recovered},
        {"verified", OrNull(outcome.verified)},
        {"previous_run", Previous(outcome.previous)}};
    AddLog(report, outcome);
    return report.dump(1) + '\n';
}

}  // namespace run
