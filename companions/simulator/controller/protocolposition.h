#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/frame.h"
#include "companions/simulator/controller/schedule.h"

namespace controller {

/**
 * The host's position in the protocol: the message and byte that it offers and, for a page, the
 * attempt. schedule.h has the rules.
 *
 * A message counts from the moment its first byte is offered, even if that byte is never taken.
 * Whether a page is a repetition follows from what the host has read, before its number is known.
 *
 * One thread.
 */
class ProtocolPosition {
  public:
    /**
     * Notes that a byte is offered; `begun` has the bytes of its message that were taken before. To
     * be called for each byte.
     */
    void follow(const std::vector<uint8_t>& begun) {
        i_place.byte = static_cast<unsigned>(begun.size());
        if (!i_begun || begun.size() == ID_KNOWN || begun.size() == NUMBER_KNOWN) {
            identify(begun);
        }
    }
    /** The position of that byte; no value in a message of an unknown kind. */
    std::optional<BytePosition> place() const {
        return i_known ? std::optional<BytePosition>(i_place) : std::nullopt;
    }
    /** The message is complete or broken off; afterMessage() and attempt() still refer to it. */
    void endMessage();
    /** A transfer begins: its first page is page 0. */
    void begin();
    /** A byte that the host will read next. */
    void offered(uint8_t byte);
    /** The host will not read the rest of the answer. */
    void answersLost();

    /** The position after the last byte of the last message. */
    std::optional<BytePosition> afterMessage() const;
    unsigned attempt() const { return i_place.attempt; }

  private:
    /** Bytes after which a message's id is known, and a page's number. */
    static constexpr size_t ID_KNOWN = ID_OFFSET + 2;
    static constexpr size_t NUMBER_KNOWN = HEADER_SIZE + 2;

    void identify(const std::vector<uint8_t>& begun);
    void start();
    void guessPage();
    void recognise(uint16_t id);
    void number(uint16_t page);

    bool i_begun = false;
    bool i_known = true;
    BytePosition i_place;

    bool i_opened = false;
    uint16_t i_lastPage = 0;
    unsigned i_attempts = 0;

    /** What the host has read since its last page frame is a good answer. */
    bool i_good = false;
    /** The last answer offered is good; it counts as read once the host begins its next message. */
    bool i_goodOffered = false;
    std::vector<uint8_t> i_answer;
};

}  // namespace controller
