#include "tool/tfiimage.h"

#include <cstring>

namespace {

constexpr const char* LAST_HEADER_LINE = "END";

/** Reads seven lines from the stream's position. False if they are not a TFI header. */
bool ReadHeader(std::ifstream& image) {
    constexpr int lineSize = 256;  // including the terminating zero
    char line[lineSize] = "";
    int lines = 0;
    while (lines < TFI_HEADER_LINES && image.good()) {
        // Fails on a longer line, and reaches the end of the file on one without a newline.
        image.getline(line, sizeof line);
        if (image.good()) {
            ++lines;
        }
    }
    return lines == TFI_HEADER_LINES &&
           strncmp(line, LAST_HEADER_LINE, strlen(LAST_HEADER_LINE)) == 0;
}

}  // namespace

long GetFileSize(std::ifstream& image) {
    if (!image.is_open()) {
        return 0;
    }
    const auto position = image.tellg();
    image.seekg(0, std::ios::end);
    const long size = image.tellg();
    image.seekg(position);
    return size;
}

long FindTfiPayloadStart(std::ifstream& image) {
    if (!image.is_open()) {
        return 0;
    }
    const auto position = image.tellg();
    image.seekg(0);
    const long payloadStart = ReadHeader(image) ? static_cast<long>(image.tellg()) : 0;
    image.seekg(position);
    return payloadStart;
}

uint16_t ReadTfiChecksum(std::ifstream& image) {
    unsigned char bytes[TFI_CHECKSUM_SIZE] = {};
    const auto position = image.tellg();
    image.seekg(-TFI_CHECKSUM_SIZE, std::ios::end);
    image.read(reinterpret_cast<char*>(bytes), sizeof bytes);
    image.seekg(position);
    return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}
