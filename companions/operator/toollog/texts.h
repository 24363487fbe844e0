#pragma once

#include <string>
#include <vector>

namespace toollog {

/**
 * The tool's log lines in the order of a run: X(name, severity, format). scripts/log-lines compares
 * the formats with the tool's sources.
 */
#define TOOL_LOG_LINES(X)                                                       \
    X(NotThere, NOTICE, "Controller isn't there, sleeping for 1 second\n")      \
    X(Missing, NOTICE, "Controller is missing, skipping upgrade")               \
    X(AlreadyCurrent, NOTICE, "Controller is already at revision %d\n")         \
    X(Revision, NOTICE, "Controller is %d\n")                                   \
    X(FileName, NOTICE, "File name is %s\n")                                    \
    X(InvalidFormat, ERROR, "Error: Invalid TFI format, not upgrading\n")       \
    X(TooManyPages, ERROR,                                                      \
      "Error: Image has %ld pages, at most 65535 can be sent, not upgrading\n") \
    X(Checksum, NOTICE, "Checksum is %04X\n")                                   \
    X(FileOpen, NOTICE, "File is open size %ld %d pages\n")                     \
    X(SendFailed, ERROR, "Failed to send YAMP message attempt %d\n")            \
    X(NoAnswer, ERROR, "Failed to get response message\n")                      \
    X(PageVerdict, NOTICE, "Page %d %s\n")                                      \
    X(PageFailed, ERROR, "Failed to send page %d\n")                            \
    X(UpgradeFailed, ERROR, "Failed to upgrade Tolmira controller!\n")          \
    X(Done, NOTICE, "Done\n")                                                   \
    X(UnknownMode, CRITICAL, "Unknown SwitcherMode %s")                         \
    X(Assertion, EMERGENCY, "Assertion \"%s\" failed.")

enum e_LogText {
#define TOOL_LOG_ENUMERATOR(name, severity, format) e_LogText_##name,
    TOOL_LOG_LINES(TOOL_LOG_ENUMERATOR)
#undef TOOL_LOG_ENUMERATOR
        e_LogText_Other,  // any text that isn't in the list
};

/** The second value of PageVerdict for a good page. */
constexpr char PAGE_SENT[] = "sent successfully";

/** A parsed message: its text, and the values at its conversions. */
struct Recognised {
    e_LogText text = e_LogText_Other;
    std::vector<std::string> values;
};

/** The first text that matches the severity and the whole message. */
Recognised Recognise(const std::string& severity, const std::string& message);

/** The message with these values at its conversions; empty for e_LogText_Other. */
std::string Message(e_LogText text, const std::vector<std::string>& values = {});

/** The message without a newline at its end, for output that ends its own lines. */
std::string WithoutNewline(std::string message);

}  // namespace toollog
