#include "companions/operator/run/report.h"

#include <nlohmann/json.hpp>

namespace run {

namespace {

using Json = nlohmann::ordered_json;

template <typename T>
Json OrNull(const std::optional<T>& value) {
    return value ? Json(*value) : Json(nullptr);
}

/** The page that ended the run. The first attempt tells why: the others may only follow from it. */
Json FailedPage(const toollog::RunRecord& record) {
    const std::vector<toollog::e_Attempt> attempts = record.attempts();
    Json words = Json::array();
    for (const toollog::e_Attempt attempt : attempts) {
        words.push_back(WordsOf(attempt));
    }
    return {{"page", *record.failedPage()}, {"why", words.front()}, {"attempts", words}};
}

}  // namespace

std::string ReportOf(const Settings& settings, const toollog::RunRecord& record,
                     const Ending& ending, double seconds) {
    const toollog::e_Cause cause = record.cause(ending.exitValue, ending.signal);
    Json report = {{"cause", WordsOf(cause)},
                   {"exit_value", ending.signal == 0 ? Json(ending.exitValue) : Json(nullptr)},
                   {"signal", ending.signal == 0 ? Json(nullptr) : Json(ending.signal)},
                   {"tool", settings.tool},
                   {"arguments", settings.toolArguments},
                   {"seconds", seconds},
                   {"controller_revision", OrNull(record.revision())},
                   {"pages", OrNull(record.pages())},
                   {"pages_sent", record.pagesSent()},
                   {"failed_attempts", record.failedAttempts()},
                   {"troubles", record.troubles()}};
    if (cause == toollog::e_Cause_PageFailed) {
        report["failed_page"] = FailedPage(record);
    }
    if (!record.assertion().empty()) {
        report["assertion"] = record.assertion();
    }
    return report.dump(1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace run
