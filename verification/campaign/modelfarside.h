#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "verification/campaign/outcome.h"
#include "verification/campaign/scenario.h"

namespace campaign {

/**
 * The far side of the model, with its faults. It shares no code with the controller; the header of
 * the schedule defines the faults.
 *
 * Borrows the scenario and the words. Times are milliseconds from an arbitrary start.
 */
class ModelFarSide {
  public:
    ModelFarSide(const Scenario& scenario, Words& words);

    void announce();
    /** Does everything that is due at this time. */
    void act(int64_t now);

    const std::string& flash() const { return i_flash; }
    unsigned resets() const { return i_resets; }

  private:
    /** A fault at a byte of the host, which acts once. */
    struct PendingFault : controller::Fault {
        bool done = false;
    };
    /** A byte for the host, and the faults in offering it. */
    struct AnswerByte {
        unsigned char byte = 0;
        /** Waits before it, each from the end of the previous one. */
        std::deque<uint32_t> waitsMs = {};
        bool overrun = false;
        bool dieBefore = false;
        /** Not a byte: the far side dies after the last one. */
        bool none = false;
    };

    unsigned char byte(unsigned address) const { return i_words[address] & 0xFF; }
    void write(unsigned address, unsigned value) { i_words[address] = value | i_dirt; }
    void writeRevision(unsigned revision);
    void clear();

    const controller::Fault* ofRun(controller::FaultKind kind) const;
    /** The faults of the answer to this page, in the order in which they act. */
    std::vector<controller::Fault> answerFaults() const;

    bool step();
    bool bringUp();
    bool noticeReset();
    bool acceptHost();
    void disarm();
    void endMessage();

    bool pollHost();
    void beginMessage();
    void placeByte();
    void placePage(unsigned page);
    bool injectFaults();
    bool inject(const PendingFault& fault);
    void takeByte();
    bool finishMessage();
    void handleMessage();
    unsigned char judgePage();

    void queueText(const std::string& bytes);
    void queueVerdict();
    bool offer();
    bool mayOffer();
    void noteOffered(unsigned char byte);

    const Scenario& i_scenario;
    Words& i_words;
    std::vector<PendingFault> i_faults;
    uint32_t i_dirt = 0;
    int64_t i_now = 0;

    bool i_dead = false;
    bool i_armed = false;
    bool i_receiveUp = false;
    std::optional<int64_t> i_upAt;
    unsigned i_resets = 0;

    /** The host's message, and the position in it. */
    std::string i_message;
    controller::BytePosition i_place;
    bool i_inMessage = false;
    /** The message is complete, but faults after its last byte are still to act. */
    bool i_messageComplete = false;
    bool i_opened = false;
    std::optional<int64_t> i_heldUntil;

    unsigned i_lastPage = 0;
    unsigned i_attempts = 0;
    /** The bytes that the host has read since the last page; whether they were a good answer. */
    std::string i_read;
    bool i_good = false;

    std::optional<unsigned char> i_verdict;
    std::deque<AnswerByte> i_queue;
    std::optional<int64_t> i_offerAt;
    bool i_directionNew = true;
    size_t i_early = 0;

    bool i_begun = false;
    bool i_erased = false;
    bool i_fits = false;
    std::string i_flash;
};

/** The size of the message with this header; none if a host does not read on after it. */
std::optional<size_t> SizeOfAnswer(const std::string& header);
/** Whether a whole message reports a good page. */
bool IsGoodAnswer(const std::string& bytes);

}  // namespace campaign
