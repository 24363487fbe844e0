#include "link/routercrc.h"

#include <array>

#include "link/smartbuffer.h"

namespace {

/** Indexed by byte. */
using CrcTable = std::array<uint16_t, 256>;
/**
 * Table n holds the CRC of a byte followed by n zero bytes, so four bytes take four look-ups that
 * don't depend on each other.
 */
using CrcTables = std::array<CrcTable, 4>;

constexpr uint16_t StepOfByte(unsigned crc) {
    constexpr unsigned reflectedPolynomial = 0xA001;
    for (int bit = 0; bit < 8; ++bit) {
        crc = (crc & 1U) != 0 ? crc >> 1 ^ reflectedPolynomial : crc >> 1;
    }
    return static_cast<uint16_t>(crc);
}

constexpr CrcTables MakeCrcTables() {
    CrcTables tables = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        uint16_t crc = StepOfByte(byte);
        for (CrcTable& table : tables) {
            table[byte] = crc;
            crc = StepOfByte(crc);
        }
    }
    return tables;
}

constexpr CrcTables CRC_TABLES = MakeCrcTables();

uint16_t CrcOf(const unsigned char* bytes, size_t count) {
    unsigned crc = 0xFFFF;
    for (; count >= 4; bytes += 4, count -= 4) {
        crc = CRC_TABLES[3][(crc ^ bytes[0]) & 0xFF] ^ CRC_TABLES[2][(crc >> 8 ^ bytes[1])] ^
              CRC_TABLES[1][bytes[2]] ^ CRC_TABLES[0][bytes[3]];
    }
    for (; count != 0; ++bytes, --count) {
        crc = CRC_TABLES[0][(crc ^ *bytes) & 0xFF] ^ crc >> 8;
    }
    return static_cast<uint16_t>(crc);
}

}  // namespace

RouterCrc::RouterCrc(const std::vector<char>& bytes)
    : RouterCrc(CrcOf(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size())) {}

RouterCrc::RouterCrc(const std::vector<unsigned char>& bytes)
    : RouterCrc(CrcOf(bytes.data(), bytes.size())) {}

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
