#include "companions/operator/inspect/inspection.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "companions/commandline/printable.h"
#include "companions/commandline/regularfile.h"
#include "companions/digest/sha256.h"
#include "companions/operator/toollog/runrecord.h"
#include "companions/operator/toollog/texts.h"
#include "tool/tfiimage.h"

namespace inspect {

namespace {

constexpr std::size_t LONGEST_LINE = 255;

/** The first bytes of a file, as many as a header can have. */
std::string Beginning(std::ifstream& image) {
    std::string bytes(TFI_HEADER_LINES * (LONGEST_LINE + 1), '\0');
    image.seekg(0);
    image.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(image.gcount()));
    image.clear();
    return bytes;
}

/** Adds the header's lines to `lines`; returns the error, if any. */
std::string ReadHeader(const std::string& bytes, std::vector<std::string>& lines) {
    std::size_t from = 0;
    for (int number = 1; number <= TFI_HEADER_LINES; ++number) {
        const std::size_t end = bytes.find('\n', from);
        const std::size_t length = std::min(end, bytes.size()) - from;
        const std::string name = "line " + std::to_string(number);
        if (length > LONGEST_LINE) {
            lines.push_back(bytes.substr(from, LONGEST_LINE));
            return name + " is longer than 255 characters";
        }
        if (end == std::string::npos) {
            if (from < bytes.size()) {
                lines.push_back(bytes.substr(from));
            }
            return "it ends in " + name + ", before that line's newline";
        }
        lines.push_back(bytes.substr(from, length));
        from = end + 1;
    }
    return lines.back().compare(0, 3, "END") == 0 ? "" : "line 7 doesn't begin with END";
}

std::string WhyNoHeader(bool isDirectory, const std::string& reason) {
    if (isDirectory) {
        return "it is a directory";
    }
    return reason.empty() ? "its header can't be read" : reason;
}

/** The parts of an image as the tool computes them. */
Layout LayoutOf(std::ifstream& image, long size, long payloadStart) {
    Layout layout = {};
    layout.payloadStart = payloadStart;
    layout.payloadSize = size - payloadStart;
    layout.checksum = ReadTfiChecksum(image);
    const long rest = layout.payloadSize % TFI_PAGE_SIZE;
    layout.pages = layout.payloadSize / TFI_PAGE_SIZE + (rest != 0 ? 1 : 0);
    if (layout.pages != 0) {
        layout.lastPageContent = (rest != 0 ? rest : TFI_PAGE_SIZE) - TFI_CHECKSUM_SIZE;
    }
    return layout;
}

/** The number of pages before the first read error. */
long ReadablePages(std::ifstream& image, const Layout& layout) {
    std::vector<char> page(TFI_PAGE_SIZE);
    image.seekg(layout.payloadStart);
    for (long number = 0; number < layout.pages; ++number) {
        const long left = layout.payloadSize - number * TFI_PAGE_SIZE;
        if (!image.read(page.data(), std::min<long>(left, TFI_PAGE_SIZE))) {
            return number;
        }
    }
    return layout.pages;
}

std::string ModuloReason(const Layout& layout) {
    return "the payload of " + std::to_string(layout.payloadSize) +
           " bytes is one byte longer than a multiple of 256, so the checksum would be split "
           "between the last two pages";
}

/** Judges a file with a valid header; returns how many pages would be sent. */
long JudgePayload(std::ifstream& image, Inspection& inspection) {
    const Layout& layout = *inspection.layout;
    if (layout.pages > TFI_MAX_PAGES) {
        inspection.verdict = e_Verdict_TooManyPages;
        inspection.reason = "it has " + std::to_string(layout.pages) + " pages, and at most " +
                            std::to_string(TFI_MAX_PAGES) + " can be sent";
        return 0;
    }
    if (layout.pages == 0) {
        inspection.verdict = e_Verdict_NoPages;
        inspection.reason = "nothing follows the header";
        return 0;
    }
    const long readable = ReadablePages(image, layout);
    if (readable < layout.pages) {
        inspection.verdict = e_Verdict_Unreadable;
        inspection.reason = "page " + std::to_string(readable) + " can't be read";
        return readable;
    }
    if (layout.lastPageContent < 0) {
        inspection.verdict = e_Verdict_Uncuttable;
        inspection.reason = ModuloReason(layout);
        return layout.pages - 1;
    }
    inspection.verdict = e_Verdict_Sendable;
    return layout.pages;
}

std::string Summary(e_Verdict verdict, const Layout& layout, long pagesSent) {
    const std::string all = std::to_string(layout.pages);
    if (verdict == e_Verdict_Sendable) {
        return "sends all " + all + " pages";
    }
    if (verdict == e_Verdict_TooManyPages) {
        return "sends nothing";
    }
    return "begins an upgrade, sends " + std::to_string(pagesSent) + " of " + all +
           " pages, and fails; the controller is left without a complete image";
}

/** Sets the layout, the verdict and the forecast. */
void TakeImage(std::ifstream& image, long payloadStart, Inspection& inspection) {
    using toollog::Message;
    inspection.layout = LayoutOf(image, *inspection.size, payloadStart);
    const Layout& layout = *inspection.layout;
    Forecast& forecast = *inspection.forecast;
    forecast.pagesSent = JudgePayload(image, inspection);
    forecast.summary = Summary(inspection.verdict, layout, forecast.pagesSent);
    const std::string pages = std::to_string(layout.pages);
    if (inspection.verdict == e_Verdict_TooManyPages) {
        forecast.log.push_back(Message(toollog::e_LogText_TooManyPages, {pages}));
        return;
    }
    forecast.log.push_back(
        Message(toollog::e_LogText_Checksum, {commandline::ChecksumText(layout.checksum)}));
    forecast.log.push_back(
        Message(toollog::e_LogText_FileOpen, {std::to_string(*inspection.size), pages}));
    if (inspection.verdict == e_Verdict_Sendable) {
        forecast.exitValue = toollog::EXIT_UPGRADED;
    } else {
        forecast.log.push_back(Message(toollog::e_LogText_UpgradeFailed));
    }
}

/** The forecast for a file that the tool refuses. */
Forecast Refusal(const std::string& file) {
    return {toollog::EXIT_NOT_UPGRADED,
            0,
            {toollog::Message(toollog::e_LogText_FileName, {file})},
            "sends nothing"};
}

/** The digest of the whole file. */
std::string Sha256Of(int fd) {
    digest::Sha256 sha256;
    std::vector<char> buffer(std::size_t{64} * 1024);
    off_t position = 0;
    ssize_t count = 0;
    while ((count = pread(fd, buffer.data(), buffer.size(), position)) > 0) {
        sha256.add(buffer.data(), static_cast<std::size_t>(count));
        position += count;
    }
    return count == 0 ? sha256.hex() : "";
}

/** Judges an open file. */
void Judge(std::ifstream& image, bool isDirectory, Inspection& inspection) {
    const std::string wrong = ReadHeader(Beginning(image), inspection.header);
    const long size = GetFileSize(image);
    const long payloadStart = FindTfiPayloadStart(image);
    if (!isDirectory) {
        inspection.size = size;
    }
    if (payloadStart == 0) {
        inspection.verdict = e_Verdict_NotTfi;
        inspection.reason = WhyNoHeader(isDirectory, wrong);
        inspection.forecast->log.push_back(toollog::Message(toollog::e_LogText_InvalidFormat));
        return;
    }
    TakeImage(image, payloadStart, inspection);
}

void OpenAndJudge(bool isDirectory, Inspection& inspection) {
    std::string path = inspection.file;
    commandline::Descriptor file;
    if (!isDirectory) {
        file = commandline::OpenRegularFile(path, inspection.reason);
        if (!file) {
            return;
        }
        inspection.sha256 = Sha256Of(file.get());
        // Opened through the descriptor, since the name may lead to another file by now.
        path = file.path();
    }
    std::ifstream image(path, std::ios::in | std::ios::binary);
    if (image.is_open()) {
        Judge(image, isDirectory, inspection);
    } else {
        inspection.reason = std::generic_category().message(errno);
    }
}

}  // namespace

const char* WordsOf(e_Verdict verdict) {
    static const char* const words[] = {
#define IMAGE_VERDICT_WORDS(name, words) words,
        IMAGE_VERDICTS(IMAGE_VERDICT_WORDS)
#undef IMAGE_VERDICT_WORDS
    };
    return words[verdict];
}

Inspection Inspect(const std::string& file) {
    Inspection inspection;
    inspection.file = file;
    struct stat status = {};
    const bool there = stat(file.c_str(), &status) == 0;
    const bool isDirectory = there && S_ISDIR(status.st_mode);
    if (there && !S_ISREG(status.st_mode) && !isDirectory) {
        inspection.verdict = e_Verdict_Special;
        inspection.reason =
            "it is a pipe, a device or a socket, and was not opened; copy its contents to a file";
        return inspection;
    }
    inspection.forecast = Refusal(file);
    OpenAndJudge(isDirectory, inspection);
    inspection.forecast->log.push_back(toollog::Message(toollog::e_LogText_Done));
    return inspection;
}

}  // namespace inspect
