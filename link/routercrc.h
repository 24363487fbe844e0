#pragma once

#include <cstdint>
#include <vector>

#include "link/packable.h"
#include "link/streamable.h"

/**
 * The CRC-16/MODBUS of a run of bytes: polynomial 0xA001 reflected, initial value 0xFFFF, no final
 * XOR. Both a stream and a smart buffer hold it as two single bytes, low byte first.
 */
class RouterCrc : public Streamable, public Extractable, public Packable {
  public:
    /** The CRC of no bytes: 0xFFFF. */
    RouterCrc() = default;
    explicit RouterCrc(const std::vector<char>& bytes);
    explicit RouterCrc(const std::vector<unsigned char>& bytes);
    RouterCrc(const RouterCrc&) = default;
    RouterCrc& operator=(const RouterCrc&) = default;

    bool operator==(const RouterCrc& other) const {
        return i_crcHigh == other.i_crcHigh && i_crcLow == other.i_crcLow;
    }

    /** Two raw characters. The stream's width and white-space settings have no effect. */
    std::ostream& toStream(std::ostream& stream) const override;
    std::istream& fromStream(std::istream& stream) override;

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override;
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override;

  private:
    explicit RouterCrc(uint16_t crc)
        : i_crcHigh(static_cast<uint8_t>(crc >> 8)), i_crcLow(static_cast<uint8_t>(crc)) {}

    uint8_t i_crcHigh = 0xFF;
    uint8_t i_crcLow = 0xFF;
};
