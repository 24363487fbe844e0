#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/eventlog.h"
#include "companions/simulator/controller/flash.h"
#include "companions/simulator/controller/frame.h"
#include "companions/simulator/controller/protocolposition.h"

namespace controller {

/** An answer on its way to the host, and what it answers: the page and the attempt at it. */
struct PageAnswer {
    uint16_t page = 0;
    unsigned attempt = 0;
    std::vector<uint8_t> bytes;
};

/** Result of one byte from the host. */
struct ByteResult {
    /** The byte completed a message. */
    bool complete = false;
    std::optional<PageAnswer> answer;
    /** The byte completed an upgrade whose pages all fit. */
    bool upgraded = false;
};

/** Counts of messages and results. */
struct MessageCounts {
    unsigned begins = 0;
    unsigned pages = 0;
    unsigned infos = 0;
    unsigned ends = 0;
    unsigned unknown = 0;
    unsigned goodPages = 0;
    unsigned badPages = 0;
    unsigned upgrades = 0;
};

/**
 * The controller's side of the upgrade protocol, from the host's bytes to the answers, without the
 * mailbox. It programs the flash and checks every message. Errors of the host go to the event log
 * as findings.
 *
 * Only the image's maker knows how its checksum is computed. The checksum is therefore compared
 * with the expected one, if there is one, and otherwise only stored.
 *
 * Borrows the flash and the event log. One thread.
 */
class Conversation {
  public:
    Conversation(Flash& flash, EventLog& events, std::optional<uint16_t> expectedChecksum)
        : i_flash(flash), i_events(events), i_expectedChecksum(expectedChecksum) {}

    /** Takes one byte of the host. */
    ByteResult take(uint8_t byte);

    /** The position of the host's next byte, now that it is offered. */
    std::optional<BytePosition> placeOnOffer() {
        i_position.follow(i_reader.begun());
        return i_position.place();
    }
    /** The position after the last completed message. */
    std::optional<BytePosition> placeAfterMessage() const { return i_position.afterMessage(); }
    /** Notes a byte that the host will read. */
    void noteOffered(uint8_t byte) { i_position.offered(byte); }
    /** Notes that the host will not read the rest of the pending answers. */
    void noteAnswersLost() { i_position.answersLost(); }

    /** A host starts from the beginning; an open message or transfer is broken off. */
    void restart();
    /** Drops an incomplete message whose rest will not come, as a finding. */
    void breakOff(const char* why);
    /** The same without a finding: the controller is the cause. */
    void forget();
    /** At the end of a session: reports an unfinished transfer as a finding. */
    void close();

    const MessageCounts& counts() const { return i_counts; }
    /** The checksum of the last upgrade information. */
    uint16_t checksum() const { return i_checksum; }

  private:
    ByteResult handle(const Frame& frame);
    void begin();
    PageAnswer page(const std::vector<uint8_t>& body);
    void info(const std::vector<uint8_t>& body);
    bool end();
    void noteDroppedBytes();
    PageResult judge(const FlashPage& page);

    Flash& i_flash;
    EventLog& i_events;
    std::optional<uint16_t> i_expectedChecksum;
    FrameReader i_reader;
    size_t i_droppedBytes = 0;
    MessageCounts i_counts;

    // The current transfer.
    bool i_open = false;
    bool i_fits = false;
    uint16_t i_checksum = 0;
    ProtocolPosition i_position;
};

}  // namespace controller
