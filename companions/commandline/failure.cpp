#include "companions/commandline/failure.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "companions/commandline/printable.h"

namespace commandline {

std::string FailureAsJson(const std::string& text, int exitValue) {
    using Json = nlohmann::ordered_json;
    const Json object = {{"format", 1}, {"error", text}, {"exit_value", exitValue}};
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void ReportFailure(const std::string& program, const std::string& text, int exitValue, bool json) {
    fprintf(stderr, "%s: %s\n", program.c_str(), Printable(text).c_str());
    if (json) {
        puts(FailureAsJson(text, exitValue).c_str());
    }
}

}  // namespace commandline
