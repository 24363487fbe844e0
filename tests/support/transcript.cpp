#include "tests/support/transcript.h"

#include <cstdio>
#include <regex>

namespace testsupport {

Transcript& Transcript::counted(const char* severity, const std::string& message) {
    i_counter = (i_counter + 1) % 1000;
    char prefix[64];
    snprintf(prefix, sizeof prefix, "C: %03u S: %s T: p:N \"", i_counter, severity);
    i_text += prefix + message + "\" at POSITION\n";
    return *this;
}

Transcript& Transcript::assertion(const std::string& condition) {
    i_text += R"(S: EMERGENCY T: p:N "Assertion ")" + condition + "\" failed.\" at POSITION\n";
    return *this;
}

std::string Normalised(const std::string& output) {
    std::string text = output;
    std::smatch handle;
    if (std::regex_search(text, handle, std::regex(R"( T: p:\d+ ")"))) {
        text = std::regex_replace(text, std::regex(handle.str()), " T: p:N \"");
    }
    return std::regex_replace(text, std::regex(R"re(" at [^/\s"][^\s"]*:\d+\.\n)re"),
                              "\" at POSITION\n");
}

}  // namespace testsupport
