#include "tests/support/transcript.h"

#include <cstdio>
#include <sstream>

namespace testsupport {

namespace {

constexpr const char* DIGITS = "0123456789";
const std::string HANDLE_MARK = " T: p:";
const std::string POSITION_MARK = "\" at ";

/** " T: p:" and the first handle in the text; empty if there is none. */
std::string FirstHandle(const std::string& text) {
    const size_t begin = text.find(HANDLE_MARK);
    if (begin == std::string::npos) {
        return {};
    }
    const size_t end = text.find_first_not_of(DIGITS, begin + HANDLE_MARK.size());
    return text.substr(begin, end - begin);
}

/** True for "dir/file.cpp:12.", a relative path without blanks. */
bool IsPosition(const std::string& text) {
    const size_t colon = text.rfind(':');
    const size_t end = text.find_first_not_of(DIGITS, colon + 1);
    return colon != std::string::npos && colon != 0 && text[0] != '/' &&
           text.find(' ') == std::string::npos && end > colon + 1 && end == text.size() - 1 &&
           text[end] == '.';
}

std::string NormalisedLine(std::string line, const std::string& handle) {
    const size_t handleAt = handle.empty() ? std::string::npos : line.find(handle + " \"");
    if (handleAt != std::string::npos) {
        line.replace(handleAt, handle.size(), HANDLE_MARK + "N");
    }
    const size_t positionAt = line.rfind(POSITION_MARK);
    if (positionAt != std::string::npos &&
        IsPosition(line.substr(positionAt + POSITION_MARK.size()))) {
        line.replace(positionAt, std::string::npos, POSITION_MARK + "POSITION");
    }
    return line;
}

}  // namespace

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
    const std::string handle = FirstHandle(output);
    std::istringstream lines(output);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        // A missing newline at the end must stay visible.
        text += NormalisedLine(line, handle) + (lines.eof() ? "" : "\n");
    }
    return text;
}

}  // namespace testsupport
