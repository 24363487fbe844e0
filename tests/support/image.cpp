#include "tests/support/image.h"

#include <cstdio>

namespace testsupport {

namespace {

constexpr size_t PAGE_SIZE = 256;
constexpr size_t CHECKSUM_SIZE = 2;

std::string Big16(size_t number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string Frame(uint16_t id, const std::string& body) {
    return std::string("\x02\xDC", 2) + Big16(id) + Big16(0) + Big16(body.size() + 8) + body;
}

/** CRC-16, reflected polynomial 0xA001, initial value 0xFFFF. */
uint16_t Crc16(const std::string& bytes) {
    unsigned crc = 0xFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = (crc & 1U) != 0;
            crc >>= 1;
            if (carry) {
                crc ^= 0xA001U;
            }
        }
    }
    return static_cast<uint16_t>(crc);
}

}  // namespace

const std::string SHORTEST_HEADER = "\n\n\n\n\n\nEND\n";

std::string Payload(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 7 + i / PAGE_SIZE + 1);
    }
    return bytes;
}

size_t PagesOf(const std::string& payload) {
    return (payload.size() + PAGE_SIZE - 1) / PAGE_SIZE;
}

std::string ChecksumText(const std::string& file) {
    const auto low = static_cast<unsigned char>(file[file.size() - 2]);
    const auto high = static_cast<unsigned char>(file[file.size() - 1]);
    char text[5];
    (void)snprintf(text, sizeof text, "%02X%02X", high, low);
    return text;
}

std::string ExpectedPage(const std::string& payload, size_t number) {
    const size_t begin = number * PAGE_SIZE;
    const bool last = payload.size() - begin <= PAGE_SIZE;
    const size_t end = last ? payload.size() - CHECKSUM_SIZE : begin + PAGE_SIZE;
    std::string page = payload.substr(begin, end - begin);
    page.resize(PAGE_SIZE);
    return page;
}

std::string ExpectedFlash(const std::string& payload) {
    std::string flash;
    for (size_t page = 0; page < PagesOf(payload); ++page) {
        flash += ExpectedPage(payload, page);
    }
    return flash;
}

std::string BeginFrame() {
    return Frame(0x2EA5, "");
}

std::string PageFrame(uint16_t number, const std::string& page) {
    const uint16_t crc = Crc16(page);
    const std::string wireCrc = {static_cast<char>(crc), static_cast<char>(crc >> 8)};
    return Frame(0x2EA3, Big16(number) + wireCrc + Big16(0) + Big16(page.size()) + page);
}

std::string ExpectedWire(const std::string& payload) {
    const size_t pages = PagesOf(payload);
    std::string bytes = BeginFrame();
    for (size_t number = 0; number < pages; ++number) {
        bytes += PageFrame(static_cast<uint16_t>(number), ExpectedPage(payload, number));
    }
    const std::string checksum = {payload[payload.size() - 1], payload[payload.size() - 2]};
    return bytes + Frame(0x2EA2, Big16(pages) + checksum) + Frame(0x2EA4, "");
}

}  // namespace testsupport
