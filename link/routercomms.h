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

/**
 * A second interface of a mailbox that can hand over bytes without a virtual call for each access.
 * The accesses, their order and the result are those of RouterCommWriter::sendBytes.
 */
class DirectHandOver {
  public:
    [[nodiscard]] virtual bool handOver(const unsigned char* bytes, unsigned int count) = 0;

  protected:
    ~DirectHandOver() = default;
};

/** Takes both directions down: writes 0 to addresses 5 to 10, in this order. */
void ResetMailbox(RouterCommsInterface& comms);

/**
 * Sends bytes and messages from the host to the controller. Borrows the interface, and belongs to
 * one thread at a time.
 *
 * False has two causes:
 * - The mailbox was not up. This is found at once, and no byte is written.
 * - The controller did not take a byte for more than two seconds. The mailbox is reset, and both
 *   directions are down.
 *
 * Nothing on the wire marks an incomplete sequence. Nothing is logged: the caller reports the
 * failure.
 *
 * The limit applies to each byte. Only whole seconds of the wall clock count, so a timeout comes
 * after 2 to 3 seconds.
 */
class RouterCommWriter {
  public:
    explicit RouterCommWriter(RouterCommsInterface* comms);
    virtual ~RouterCommWriter() = default;

    /**
     * Sends one frame. Also false, with nothing sent, if there is no memory or the message can't be
     * packed.
     */
    [[nodiscard]] bool send(const YAMPMessage& message);

    /**
     * Sends `count` bytes, up to the first that fails. For a null pointer, sends nothing and
     * returns true.
     */
    [[nodiscard]] bool sendBytes(const void* bytes, unsigned int count);
    [[nodiscard]] bool sendByte(unsigned char byte);

    /** True if address 10 is not 0. One read, no wait. */
    bool isControllerPresent();

  private:
    RouterCommsInterface* i_comms;
};

/**
 * Receives bytes and messages from the controller. Borrows the interface, and belongs to one thread
 * at a time.
 *
 * A failure has two causes:
 * - The direction was not up. This is found at once, and nothing is written.
 * - The controller offered no byte for more than three seconds. The mailbox is reset, and both
 *   directions are down.
 *
 * Nothing is logged. The destructor closes the direction on the wire, so a reader can't be copied.
 */
class RouterCommReader {
  public:
    explicit RouterCommReader(RouterCommsInterface* comms);
    /** Writes 0 to address 7, whatever it held. */
    virtual ~RouterCommReader();
    RouterCommReader(const RouterCommReader&) = delete;
    RouterCommReader& operator=(const RouterCommReader&) = delete;

    /** Requests the direction if its state is STATE_ABSENT. */
    void enable();

    /**
     * Reads one message. Returns a reader over its body, or null on any failure. `buffer` owns the
     * bytes under the reader and must outlive it. `id` is valid only if the result isn't null.
     *
     * After a bad header the receiver doesn't search for the start of a frame: it takes the next
     * bytes as the next frame. A frame longer than YAMP_MAX_FRAME is refused, and its body stays
     * unread.
     */
    std::unique_ptr<SmartBufferReader> readMessage(RefPtr<RefBuffer>& buffer, uint16_t& id);

    /** Reads at most `capacity` bytes. True if it read `count`; false for a null pointer. */
    [[nodiscard]] bool readBytes(void* bytes, unsigned int capacity, unsigned int count);
    /** `byte` is set only when the result is true. */
    [[nodiscard]] bool readByte(unsigned char* byte);
    /** True if the controller offers a byte. One read, no wait. */
    bool isByteOffered();

    /** The controller's firmware revision: two reads, not atomic against the controller. */
    uint16_t getControllerRevision();

  private:
    RouterCommsInterface* i_comms;
};
