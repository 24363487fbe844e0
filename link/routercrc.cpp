#include "link/routercrc.h"

#include <array>

#include "link/smartbuffer.h"

namespace {

/** For each byte, the low and the high byte of its CRC step. */
struct CrcTables {
    std::array<uint8_t, 256> low;
    std::array<uint8_t, 256> high;
};

constexpr CrcTables MakeCrcTables() {
    constexpr unsigned ReflectedPolynomial = 0xA001;
    CrcTables tables = {};
    for (unsigned byte = 0; byte < tables.low.size(); ++byte) {
        unsigned crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1U) != 0 ? crc >> 1 ^ ReflectedPolynomial : crc >> 1;
        }
        tables.low[byte] = static_cast<uint8_t>(crc);
        tables.high[byte] = static_cast<uint8_t>(crc >> 8);
    }
    return tables;
}

constexpr CrcTables crcTables = MakeCrcTables();

}  // namespace

RouterCrc::RouterCrc(const std::vector<char>& bytes) {
    for (const char byte : bytes) {
        add(static_cast<unsigned char>(byte));
    }
}

RouterCrc::RouterCrc(const std::vector<unsigned char>& bytes) {
    for (const unsigned char byte : bytes) {
        add(byte);
    }
}

void RouterCrc::add(unsigned char byte) {
    const auto index = static_cast<uint8_t>(byte ^ i_crcLow);
    i_crcLow = i_crcHigh ^ crcTables.low[index];
    i_crcHigh = crcTables.high[index];
}

std::ostream& RouterCrc::toStream(std::ostream& stream) const {
    stream.put(static_cast<char>(i_crcLow));
    return stream.put(static_cast<char>(i_crcHigh));
}

std::istream& RouterCrc::fromStream(std::istream& stream) {
    char low = 0;
    char high = 0;
    if (stream.get(low)) {
        i_crcLow = static_cast<uint8_t>(low);
    }
    if (stream.get(high)) {
        i_crcHigh = static_cast<uint8_t>(high);
    }
    return stream;
}

WriteableSmartBuffer& RouterCrc::pack(WriteableSmartBuffer& buffer) const {
    return buffer << i_crcLow << i_crcHigh;
}

ReadableSmartBuffer& RouterCrc::unpack(ReadableSmartBuffer& buffer) {
    return buffer >> i_crcLow >> i_crcHigh;
}
