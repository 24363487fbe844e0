#include "companions/commandline/failure.h"

#include <cstdio>

#include "companions/commandline/printable.h"
#include "companions/jsonvalue/jsonvalue.h"

namespace commandline {

std::string FailureAsJson(const std::string& text, int exitValue) {
    return JsonValue{{"format", 1}, {"error", text}, {"exit_value", exitValue}}.dump();
}

void ReportFailure(const std::string& program, const std::string& text, int exitValue, bool json) {
    fprintf(stderr, "%s: %s\n", program.c_str(), Printable(text).c_str());
    if (json) {
        puts(FailureAsJson(text, exitValue).c_str());
    }
}

}  // namespace commandline
