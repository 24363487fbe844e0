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
 *            4  4 bytes  total length in bytes, including these 8
 *            8           the body, as the message packs it
 *
 * All numbers are high byte first. Nothing follows the body.
 */
constexpr unsigned int YAMP_HEADER_SIZE = 8;
/** Bytes in the largest body, and in the largest frame. */
constexpr unsigned int YAMP_MAX_BODY = 0x7FFFFF8;
constexpr unsigned int YAMP_MAX_FRAME = YAMP_HEADER_SIZE + YAMP_MAX_BODY;

/** A message that can be sent as one frame. */
class YAMPMessage : public Packable {
  public:
    virtual uint16_t getId() const = 0;
};

/** Names the payload class of a message id as `Type`; specialised beside the payload classes. */
template <unsigned short id>
struct TolmiraPayloadT;

/** Joins an id to its payload. The frame's body is the packed payload and nothing else. */
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
 * Returns 0, or -1, with `packedSize` unchanged, if the buffer is null or too small, or the message
 * can't be packed.
 */
[[nodiscard]] int YAMPPack(void* buffer, unsigned int bufferSize, const YAMPMessage& message,
                           unsigned int* packedSize);

/**
 * Checks the header in the first 8 of `size` bytes. Returns 0, or -1 if it is not valid. The total
 * length and the id are stored even if the check fails, unless there are fewer than 8 bytes. The id
 * is not checked, and the length has no upper limit here.
 */
[[nodiscard]] int YAMPParseHeader(const void* bytes, unsigned int size, unsigned int* totalLength,
                                  uint16_t* id);

/**
 * Returns a reader over the body of the frame at `frame`, which has `size` bytes and must outlive
 * the reader. Null if the frame is longer than that, its header is bad, or there is no memory.
 * Stores the id.
 */
std::unique_ptr<SmartBufferReader> YAMPOpenBody(const void* frame, unsigned int size, uint16_t* id);
