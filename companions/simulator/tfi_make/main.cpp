/**
 * tfi_make: makes firmware images in TFI format for demos and tests. An image has six header lines,
 * a seventh that begins with END, the content, and two checksum bytes, low byte first.
 */
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "companions/commandline/commandline.h"
#include "companions/commandline/failure.h"
#include "companions/commandline/regularfile.h"
#include "cpputils/include/standarddescriptors.h"

namespace {

constexpr uint64_t PAGE_BYTES = 256;
constexpr uint64_t CHECKSUM_BYTES = 2;
constexpr size_t FREE_HEADER_LINES = 6;

/** In bytes; four times what a controller takes. */
constexpr uint64_t LARGEST_PAYLOAD = 0x4000000;

struct ImageSettings {
    std::string file;
    std::vector<std::string> headerLines;
    std::string endText;
    uint64_t pages = 0;
    /** Replaces `pages`. */
    std::optional<uint64_t> size;
    std::string pattern = "random";
    uint32_t seed = 1;
    std::optional<uint16_t> checksum;
};

std::string Header(const ImageSettings& settings) {
    std::vector<std::string> lines = settings.headerLines;
    lines.resize(FREE_HEADER_LINES);
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text + "END" + settings.endText + '\n';
}

std::vector<char> Content(const ImageSettings& settings, uint64_t size) {
    std::vector<char> bytes(size);
    std::mt19937 generator(settings.seed);
    uint64_t number = settings.seed;
    for (char& byte : bytes) {
        if (settings.pattern == "random") {
            number = generator() >> 24;
        }
        byte = settings.pattern == "zero" ? '\0' : static_cast<char>(number & 0xFF);
        ++number;
    }
    return bytes;
}

/** The sum of the bytes, which is enough to distinguish two images. */
uint16_t Sum(const std::vector<char>& bytes) {
    uint32_t sum = 0;
    for (const char byte : bytes) {
        sum += static_cast<unsigned char>(byte);
    }
    return static_cast<uint16_t>(sum);
}

/** Content and checksum. A payload of less than two bytes has only the start of the checksum. */
std::vector<char> Payload(const ImageSettings& settings) {
    const uint64_t size = settings.size.value_or(settings.pages * PAGE_BYTES);
    std::vector<char> bytes = Content(settings, size < CHECKSUM_BYTES ? 0 : size - CHECKSUM_BYTES);
    const uint16_t checksum = settings.checksum.value_or(Sum(bytes));
    bytes.push_back(static_cast<char>(checksum & 0xFF));
    bytes.push_back(static_cast<char>(checksum >> 8));
    bytes.resize(size);
    return bytes;
}

/** The error, or an empty text. */
std::string Save(const ImageSettings& settings) {
    std::string why;
    const commandline::Descriptor target = commandline::CreateRegularFile(settings.file, why);
    if (!target) {
        return why;
    }
    std::ofstream file(target.path(), std::ios::binary);
    const std::vector<char> payload = Payload(settings);
    file << Header(settings);
    file.write(payload.data(), static_cast<std::streamsize>(payload.size()));
    file.close();
    return file.fail() ? strerror(errno) : "";
}

int Write(const ImageSettings& settings) {
    const std::string why = Save(settings);
    if (!why.empty()) {
        commandline::ReportFailure(
            "tfi_make", "cannot write " + settings.file + ": " + why + "; choose another file",
            EXIT_FAILURE, false);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

void AddOptions(commandline::Program& program, ImageSettings& settings) {
    program.version(TOLMIRA_VERSION);
    program.option("file", settings.file, "Image to write").required();
    const commandline::CommandOptions extent =
        program.oneOfGroup("extent", "One of these is needed");
    extent.option("--pages", settings.pages, "Make a payload of N flash pages of 256 bytes")
        .inRange(uint64_t{0}, LARGEST_PAYLOAD / PAGE_BYTES);
    extent
        .option("--size", settings.size,
                "Make a payload of N bytes, including the two of the checksum")
        .inRange(uint64_t{0}, LARGEST_PAYLOAD);
    program
        .option("--pattern", settings.pattern,
                "Fill the content with random numbers, a count or zeroes")
        .oneOf({"random", "count", "zero"})
        .showDefault();
    program.option("--seed", settings.seed, "Start the random numbers or the count with this")
        .showDefault();
    program.repeatable("--header", settings.headerLines, FREE_HEADER_LINES,
                       "Add a header line, up to six times; missing ones are empty");
    program.option("--end-text", settings.endText, "Add this text after END on the seventh line");
    program.option("--checksum", settings.checksum,
                   "Set this checksum, decimal or as 0x1234, instead of the sum of the content");
}

int Run(int argc, const char* const* argv) {
    ImageSettings settings;
    commandline::Program program(
        "Makes a firmware image in TFI format.\n"
        "Exit value: 0 written, 1 not written, 2 wrong usage.",
        "tfi_make");
    AddOptions(program, settings);
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    return Write(settings);
}

}  // namespace

// On std::bad_alloc the program may terminate.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return Run(argc, argv);
}
