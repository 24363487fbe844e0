#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace controller {

/** Message ids of the upgrade conversation. */
constexpr uint16_t ID_UPGRADE_INFO = 11938;
constexpr uint16_t ID_FLASH_PAGE = 11939;
constexpr uint16_t ID_UPGRADE_END = 11940;
constexpr uint16_t ID_UPGRADE_BEGIN = 11941;
constexpr uint16_t ID_PAGE_RESULT = 11942;

/** The header of a message: two lead bytes, the id, and the length of the whole message. */
constexpr size_t HEADER_SIZE = 8;
constexpr size_t ID_OFFSET = 2;
constexpr size_t LENGTH_OFFSET = 4;
constexpr uint8_t FIRST_LEAD_BYTE = 2;
constexpr uint8_t SECOND_LEAD_BYTE = 220;

/** One message: its id, and the bytes after the header. */
struct Frame {
    uint16_t id = 0;
    std::vector<uint8_t> body;
};

/** A message in wire format, header included. */
std::vector<uint8_t> PackFrame(uint16_t id, const std::vector<uint8_t>& body);

/** The answer to a page, with this result byte. */
std::vector<uint8_t> PackResult(uint8_t result);

/** Big-endian numbers; the caller ensures that the bytes exist. */
uint16_t ReadU16(const uint8_t* bytes);
uint32_t ReadU32(const uint8_t* bytes);

/**
 * Splits the host's bytes into frames.
 *
 * Bytes that can't begin a frame are dropped one by one until two lead bytes come first again. So
 * the reader resynchronises after an incomplete or corrupt message. A header with a length that no
 * message of the host has is corrupt, and its body is not awaited.
 */
class FrameReader {
  public:
    /** The frame that this byte completes, if it does. */
    std::optional<Frame> push(uint8_t byte);

    /** The bytes of the incomplete frame; empty between frames. */
    const std::vector<uint8_t>& begun() const { return i_bytes; }
    /** Discards the incomplete frame. */
    void restart() { i_bytes.clear(); }
    /** Bytes dropped so far because no frame could begin with them. */
    size_t droppedBytes() const { return i_droppedBytes; }

  private:
    bool plausible() const;

    std::vector<uint8_t> i_bytes;
    size_t i_droppedBytes = 0;
};

}  // namespace controller
