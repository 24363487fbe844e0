#pragma once

#include <cstdint>
#include <memory>

#include "link/refbuffer.h"
#include "link/smartbuffer.h"
#include "link/yamp.h"

/**
 * The mailbox of single bytes that host and controller share. The order of the calls is the
 * protocol: an implementation neither caches nor merges nor reorders them.
 */
class RouterCommsInterface {
  public:
    virtual ~RouterCommsInterface() = default;
    virtual unsigned char readAddress(unsigned int address) = 0;
    virtual void writeAddress(unsigned int address, unsigned char value) = 0;
};

/** Takes both directions down: writes 0 to addresses 5 to 10, in this order. */
void ResetMailbox(RouterCommsInterface& comms);

/**
 * The direction from the host to the controller. It borrows the interface, one thread at a time.
 *
 * False means that the mailbox was not up (found so at once, untouched) or that the controller left
 * a byte for over two seconds (the mailbox is reset, and both directions are down). Nothing marks a
 * broken-off sequence on the wire, and nothing is logged: the words are the caller's.
 *
 * Times are whole seconds of the wall clock; each byte has its own wait of 2 to 3 seconds.
 */
class RouterCommWriter {
  public:
    explicit RouterCommWriter(RouterCommsInterface* comms);
    virtual ~RouterCommWriter() = default;

    /** One frame. False also without memory and for a message that can't be packed: nothing sent.
     */
    [[nodiscard]] bool send(const YAMPMessage& message);

    /** `count` bytes, up to the first that fails. A null pointer is true with nothing sent. */
    [[nodiscard]] bool sendBytes(const void* bytes, unsigned int count);
    [[nodiscard]] bool sendByte(unsigned char byte);

    /** True if address 10 is not 0. One read, no wait. */
    bool isControllerPresent();

  private:
    RouterCommsInterface* i_comms;
};

/**
 * The direction from the controller to the host. It borrows the interface, one thread at a time.
 *
 * A failure means that the direction was not up (found so at once, untouched) or that the
 * controller offered no byte for over three seconds (the mailbox is reset, and both directions are
 * down). Nothing is logged.
 *
 * Its end closes the direction on the wire, which is why a reader is never copied.
 */
class RouterCommReader {
  public:
    explicit RouterCommReader(RouterCommsInterface* comms);
    /** Writes 0 to address 7, whatever it held. */
    virtual ~RouterCommReader();
    RouterCommReader(const RouterCommReader&) = delete;
    RouterCommReader& operator=(const RouterCommReader&) = delete;

    /** Asks for the direction, if it is off. */
    void enable();

    /**
     * One message: a reader over its body, or null on any failure. `buffer` holds the bytes that
     * the reader looks at, so it has to outlive it. `id` is valid only when the result isn't null.
     *
     * After a bad header the receiver doesn't hunt for a frame start: what follows is taken as the
     * next frame. A frame beyond YAMP_MAX_FRAME is refused with its body unread.
     */
    std::unique_ptr<SmartBufferReader> readMessage(RefPtr<RefBuffer>& buffer, uint16_t& id);

    /** True if exactly `count` bytes were read; at most `capacity` are. Null is false. */
    [[nodiscard]] bool readBytes(void* bytes, unsigned int capacity, unsigned int count);
    /** `byte` is set only when the result is true. */
    [[nodiscard]] bool readByte(unsigned char* byte);
    /** True if a byte waits. One read, no wait. */
    bool isByteOffered();

    /** The controller's firmware revision: two reads, not atomic against the controller. */
    uint16_t getControllerRevision();

  private:
    RouterCommsInterface* i_comms;
};
