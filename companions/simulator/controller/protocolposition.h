#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/frame.h"
#include "companions/simulator/controller/schedule.h"

namespace controller {

/**
 * Where in the conversation the host is: the message and byte that it has on offer, and, for a
 * page, which attempt this is. The rules stand with the schedule of faults, whose places these are.
 *
 * A message is counted from the moment its first byte is on offer, also if that byte is never
 * taken. Whether a page comes again is known before its number is: from what the host has read.
 *
 * One thread.
 */
class ProtocolPosition {
  public:
    /** A byte is on offer, behind these already taken of its message. For each byte at least once.
     */
    void follow(const std::vector<uint8_t>& begun) {
        i_place.byte = static_cast<unsigned>(begun.size());
        if (!i_begun || begun.size() == ID_KNOWN || begun.size() == NUMBER_KNOWN) {
            identify(begun);
        }
    }
    /** The place of that byte; none if the message is of an unknown kind. */
    std::optional<BytePosition> place() const {
        return i_known ? std::optional<BytePosition>(i_place) : std::nullopt;
    }
    /** The message is complete, or broken off; `afterMessage` and `attempt` still tell of it. */
    void endMessage();
    /** A transfer begins: its first page is page 0. */
    void begin();
    /** A byte that the host reads, as soon as it reads at all. */
    void offered(uint8_t byte);
    /** What the host has not read to its end by now, it will not. */
    void answersLost();

    /** The place behind the last byte of the last message. */
    std::optional<BytePosition> afterMessage() const;
    unsigned attempt() const { return i_place.attempt; }

  private:
    /** So many bytes of a message tell its id, and these a page's number. */
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
    /** The last answer offered is good; read once the host goes on to its next message. */
    bool i_goodOffered = false;
    std::vector<uint8_t> i_answer;
};

}  // namespace controller
