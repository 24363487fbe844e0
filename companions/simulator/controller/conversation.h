#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "companions/simulator/controller/flash.h"
#include "companions/simulator/controller/frame.h"
#include "companions/simulator/controller/journal.h"
#include "companions/simulator/controller/whereabouts.h"

namespace controller {

/** An answer on its way to the host, and what it answers: the page and the attempt at it. */
struct Answer {
    uint16_t page = 0;
    unsigned attempt = 0;
    std::vector<uint8_t> bytes;
};

/** What one byte of the host leads to. */
struct Outcome {
    /** The byte completed a message. */
    bool complete = false;
    std::optional<Answer> answer;
    /** The byte completed an upgrade whose pages all fit. */
    bool upgraded = false;
};

/** How often each thing happened. */
struct Tally {
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
 * The controller's side of the upgrade conversation, from the host's bytes to the answers, with no
 * mailbox in it. It keeps the flash and judges what arrives; every fault of the host's goes to the
 * journal as a finding.
 *
 * The image's checksum covers what only the image's maker knows, so it is compared with the one
 * expected, where there is one, and otherwise only kept.
 *
 * Borrows the flash and the journal. One thread.
 */
class Conversation {
  public:
    Conversation(Flash& flash, Journal& journal, std::optional<uint16_t> expectedChecksum)
        : i_flash(flash), i_journal(journal), i_expectedChecksum(expectedChecksum) {}

    /** Takes one byte of the host. */
    Outcome take(uint8_t byte);

    /** Where the host's next byte belongs, now that it is on offer. */
    std::optional<Place> placeOnOffer() {
        i_whereabouts.follow(i_reader.begun());
        return i_whereabouts.place();
    }
    /** The place behind the message that was completed last. */
    std::optional<Place> placeBehind() const { return i_whereabouts.behind(); }
    /** Notes a byte that the host will read. */
    void noteOffered(uint8_t byte) { i_whereabouts.offered(byte); }
    /** Notes that it will not read the rest of what was on its way. */
    void noteAnswersLost() { i_whereabouts.answersLost(); }

    /** A host starts from the beginning: whatever was open is broken off. */
    void welcome();
    /** Gives up a message that was begun: its rest will not come. */
    void breakOff(const char* why);
    /** The same where the controller is to blame: no finding. */
    void forget();
    /** Notes a transfer that was begun and not ended as a finding; for the end of a session. */
    void close();

    const Tally& tally() const { return i_tally; }
    /** The checksum of the last upgrade information. */
    uint16_t checksum() const { return i_checksum; }

  private:
    Outcome handle(const Frame& frame);
    void begin();
    Answer page(const std::vector<uint8_t>& body);
    void info(const std::vector<uint8_t>& body);
    bool end();
    void noteDroppedBytes();
    PageResult judge(const FlashPage& page);

    Flash& i_flash;
    Journal& i_journal;
    std::optional<uint16_t> i_expectedChecksum;
    FrameReader i_reader;
    size_t i_droppedBytes = 0;
    Tally i_tally;

    // The present transfer.
    bool i_open = false;
    bool i_fits = false;
    uint16_t i_checksum = 0;
    Whereabouts i_whereabouts;
};

}  // namespace controller
