#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace inspect {

/** What the tool would do with a file: X(name, words). */
#define IMAGE_VERDICTS(X)                      \
    X(Sendable, "would be sent")               \
    X(NotOpened, "cannot be opened")           \
    X(NotTfi, "not a TFI image")               \
    X(TooManyPages, "too many pages")          \
    X(NoPages, "no pages")                     \
    X(Uncuttable, "cannot be cut into pages")  \
    X(Unreadable, "cannot be read to its end") \
    X(Special, "not a file")

enum e_Verdict {
#define IMAGE_VERDICT_ENUMERATOR(name, words) e_Verdict_##name,
    IMAGE_VERDICTS(IMAGE_VERDICT_ENUMERATOR)
#undef IMAGE_VERDICT_ENUMERATOR
};

const char* WordsOf(e_Verdict verdict);

/** The parts of an image. Sizes in bytes. */
struct Layout {
    long payloadStart;
    /** Includes the two bytes of the checksum. */
    long payloadSize;
    long pages;
    uint16_t checksum;
    /** Without the checksum; -1 if the checksum begins in the previous page. */
    long lastPageContent;
};

/** The tool's exit value and log for a file. */
struct Forecast {
    int exitValue;
    long pagesSent;
    /** Its messages from the file name on, without those about single pages. */
    std::vector<std::string> log;
    /** A short description. */
    std::string summary;
};

struct Inspection {
    std::string file;
    e_Verdict verdict = e_Verdict_NotOpened;
    /** Reason of the verdict; empty for a file that would be sent. */
    std::string reason;
    /** Of the whole file; no value if it isn't known. */
    std::optional<long> size;
    /** Of the whole file, in hexadecimal; empty if it can't be read to its end. */
    std::string sha256;
    /** The header's lines that were found, without their newlines. */
    std::vector<std::string> header;
    /** Only with a valid header. */
    std::optional<Layout> layout;
    /** No value for a pipe, a device or a socket, which isn't opened. */
    std::optional<Forecast> forecast;
};

/**
 * Examines a file with the tool's own functions, and reads it to its end. A pipe or a device is not
 * opened, since that alone can block or have a side effect.
 */
Inspection Inspect(const std::string& file);

}  // namespace inspect
