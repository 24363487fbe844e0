#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace inspect {

/** What the tool would make of a file: X(name, words). */
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

/** What a TFI header and the file's end tell. Sizes in bytes. */
struct Layout {
    long payloadStart;
    /** The two bytes of the checksum included. */
    long payloadSize;
    long pages;
    uint16_t checksum;
    /** Bytes of the image in the last page; negative where the checksum begins a page too early. */
    long lastPageContent;
};

/** What the tool would do with a file, as the exit value and the log show it. */
struct Forecast {
    int exitValue;
    long pagesSent;
    /** Its messages from the file name on, without those of single pages. */
    std::vector<std::string> log;
    /** In words, for people. */
    std::string summary;
};

struct Inspection {
    std::string file;
    e_Verdict verdict = e_Verdict_NotOpened;
    /** Why; empty for a file that would be sent. */
    std::string reason;
    /** Of the whole file; none where it can't be told. */
    std::optional<long> size;
    /** Of the whole file, in hexadecimal; empty where it can't be read to its end. */
    std::string sha256;
    /** The header's lines, as far as there are any, without their newlines. */
    std::vector<std::string> header;
    /** Only with a header that is one. */
    std::optional<Layout> layout;
    /** None for what isn't a file, since that wasn't looked into. */
    std::optional<Forecast> forecast;
};

/**
 * Looks at a file with the tool's own eyes, and reads it to its end. A pipe or a device is not
 * opened: that alone may wait for ever, or have an effect.
 */
Inspection Inspect(const std::string& file);

}  // namespace inspect
