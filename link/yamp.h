#pragma once

#include <cstdint>
#include <memory>

#include "link/packable.h"
#include "link/smartbuffer.h"

/**
 * YAMP frames: an 8-byte header and a body.
 *
 *     offset 0  1 byte   2
 *            1  1 byte   220
 *            2  2 bytes  message id
 *            4  4 bytes  total length in bytes, these 8 included
 *            8           the body, as the message packs it
 *
 * All numbers stand high byte first. Nothing follows the body.
 */
constexpr unsigned int YAMP_HEADER_SIZE = 8;
/** Bytes in the largest body, and in the largest frame. */
constexpr unsigned int YAMP_MAX_BODY = 0x7FFFFF8;
constexpr unsigned int YAMP_MAX_FRAME = YAMP_HEADER_SIZE + YAMP_MAX_BODY;

/** Anything that can be sent as a frame of its own. */
class YAMPMessage : public Packable {
  public:
    virtual uint16_t getId() const = 0;
};

/** Names the payload class of a message id as `Type`; specialised beside the payload classes. */
template <unsigned short id>
struct TolmiraPayloadT;

/** Joins an id to its payload; the frame's body is exactly the payload's packing. */
template <unsigned short id>
class TolmiraMessageT : public YAMPMessage {
  public:
    using Payload = typename TolmiraPayloadT<id>::Type;

    TolmiraMessageT() = default;
    explicit TolmiraMessageT(const Payload& payload) : i_payload(payload) {}

    WriteableSmartBuffer& pack(WriteableSmartBuffer& buffer) const override {
        return i_payload.pack(buffer);
    }
    ReadableSmartBuffer& unpack(ReadableSmartBuffer& buffer) override {
        return i_payload.unpack(buffer);
    }
    uint16_t getId() const override { return id; }

    const Payload& payload() const { return i_payload; }

  private:
    Payload i_payload;
};

/**
 * Builds the frame of `message` in `buffer` and stores its total length, in bytes, in `packedSize`.
 * 0, or -1 if the buffer can't hold it, with `packedSize` untouched if the body didn't fit.
 */
[[nodiscard]] int YAMPPack(void* buffer, unsigned int bufferSize, const YAMPMessage& message,
                           unsigned int* packedSize);

/**
 * Checks the first 8 of `size` bytes. 0, or -1 if they head no frame. The total length and the id
 * are stored before they are judged; the id isn't judged at all, nor an upper limit of the length.
 */
[[nodiscard]] int YAMPParseHeader(const void* bytes, unsigned int size, unsigned int* totalLength,
                                  uint16_t* id);

/**
 * A reader over the body of the frame at `frame`, where `size` bytes lie, which it doesn't copy and
 * the caller keeps alive; null if the frame is longer than that, its header is bad, or there is no
 * memory. Stores the id.
 */
std::unique_ptr<SmartBufferReader> YAMPOpenBody(const void* frame, unsigned int size, uint16_t* id);
