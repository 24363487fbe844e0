#include "verification/campaign/modelfarside.h"

#include <algorithm>
#include <iterator>

#include "link/mailbox.h"

namespace campaign {

using controller::BytePosition;
using controller::Fault;
using controller::FaultKind;
using controller::HostMessage;

namespace {

constexpr size_t HEADER = 8;
constexpr size_t PAGE = 256;
/** Offsets in a page's message. */
constexpr size_t PAGE_NUMBER = HEADER;
constexpr size_t PAGE_DATA = HEADER + 8;

constexpr unsigned ID_INFO = 0x2EA2;
constexpr unsigned ID_PAGE = 0x2EA3;
constexpr unsigned ID_END = 0x2EA4;
constexpr unsigned ID_ANSWER = 0x2EA6;

uint32_t Big(const std::string& bytes, size_t offset, size_t count) {
    uint32_t number = 0;
    for (size_t i = offset; i < offset + count; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

void PutBig(std::string& bytes, size_t offset, size_t count, uint32_t number) {
    for (size_t i = count; i-- > 0; number >>= 8) {
        bytes[offset + i] = static_cast<char>(number);
    }
}

/** Applies the fault to the bytes of an answer. Other kinds of faults don't change them. */
void Corrupt(std::string& bytes, const Fault& fault) {
    const uint32_t value = fault.value.value_or(0);
    switch (fault.kind) {
        case FaultKind::Body:
            bytes.resize(HEADER + value, '\0');
            PutBig(bytes, 4, 4, static_cast<uint32_t>(bytes.size()));
            break;
        case FaultKind::Result:
            if (bytes.size() > HEADER) {
                bytes[HEADER] = static_cast<char>(value);
            }
            break;
        case FaultKind::Id:
            PutBig(bytes, 2, 2, value);
            break;
        case FaultKind::Lead:
            PutBig(bytes, 0, 2, value);
            break;
        case FaultKind::Length:
            PutBig(bytes, 4, 4, value);
            break;
        case FaultKind::Extra:
            bytes.append(value, '\0');
            break;
        case FaultKind::Cut:
            bytes.resize(std::min<size_t>(bytes.size(), value));
            break;
        case FaultKind::Silence:
            bytes.clear();
            break;
        default:
            break;
    }
}

bool IsAt(const BytePosition& a, const BytePosition& b) {
    const bool samePage = a.page == b.page && a.attempt == b.attempt;
    return a.message == b.message && a.byte == b.byte &&
           (a.message != HostMessage::Page || samePage);
}

/** An answer to a page. */
std::string AnswerText(unsigned char result) {
    return std::string("\x02\xDC\x2E\xA6\0\0\0\x09", HEADER) + static_cast<char>(result);
}

}  // namespace

std::optional<size_t> SizeOfAnswer(const std::string& header) {
    constexpr uint32_t longest = 0x8000000;
    const uint32_t length = Big(header, 4, 4);
    const bool isMessage = Big(header, 0, 2) == 0x02DC && length >= HEADER && length <= longest;
    return isMessage ? std::optional<size_t>(length) : std::nullopt;
}

bool IsGoodAnswer(const std::string& bytes) {
    return bytes.size() > HEADER && Big(bytes, 2, 2) == ID_ANSWER && bytes[HEADER] == 0;
}

ModelFarSide::ModelFarSide(const Scenario& scenario, Words& words)
    : i_scenario(scenario), i_words(words) {
    for (const Fault& fault : scenario.faults) {
        i_faults.push_back({fault});
    }
    // Faults at one place act in the order of their kinds.
    std::stable_sort(i_faults.begin(), i_faults.end(),
                     [](const Fault& a, const Fault& b) { return a.kind < b.kind; });
    if (const Fault* dirty = ofRun(FaultKind::Dirty)) {
        i_dirt = *dirty->value;
    }
    clear();
}

void ModelFarSide::clear() {
    for (unsigned address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        write(address, 0);
    }
}

void ModelFarSide::writeRevision(unsigned revision) {
    write(MAILBOX_REVISION_LOW, revision & 0xFF);
    write(MAILBOX_REVISION_HIGH, revision >> 8);
}

void ModelFarSide::announce() {
    writeRevision(i_scenario.revision);
    write(MAILBOX_TX_STATE, STATE_REQUESTED);
    i_armed = true;
}

const Fault* ModelFarSide::ofRun(FaultKind kind) const {
    const auto found = std::find_if(i_faults.begin(), i_faults.end(),
                                    [kind](const Fault& fault) { return fault.kind == kind; });
    return found == i_faults.end() ? nullptr : &*found;
}

void ModelFarSide::act(int64_t now) {
    i_now = now;
    while (!i_dead && step()) {
    }
}

bool ModelFarSide::step() {
    if (bringUp()) {
        return true;
    }
    if (byte(MAILBOX_TX_STATE) == STATE_ABSENT) {
        return noticeReset();
    }
    return acceptHost() || pollHost() || offer();
}

bool ModelFarSide::bringUp() {
    if (!i_upAt || i_now < *i_upAt) {
        return false;
    }
    i_upAt.reset();
    i_armed = true;
    i_receiveUp = true;
    write(MAILBOX_RX_STATE, STATE_READY);
    write(MAILBOX_TX_STATE, STATE_REQUESTED);
    return true;
}

bool ModelFarSide::noticeReset() {
    if (!i_armed) {
        return false;
    }
    ++i_resets;
    disarm();
    if (ofRun(FaultKind::NoRearm) == nullptr) {
        const Fault* late = ofRun(FaultKind::Rearm);
        i_upAt = i_now + (late != nullptr ? int64_t{*late->value} : 0);
    }
    return true;
}

bool ModelFarSide::acceptHost() {
    if (byte(MAILBOX_RX_STATE) != STATE_REQUESTED) {
        return false;
    }
    i_receiveUp = true;
    if (const Fault* revise = ofRun(FaultKind::Revise)) {
        writeRevision(*revise->value);
    }
    write(MAILBOX_RX_STATE, STATE_READY);
    return true;
}

/** Drops the message and all answers. Both directions are down. */
void ModelFarSide::disarm() {
    endMessage();
    i_message.clear();
    i_messageComplete = false;
    i_heldUntil.reset();
    i_queue.clear();
    i_offerAt.reset();
    i_early = 0;
    i_read.clear();
    i_good = false;
    i_directionNew = true;
    i_armed = false;
    i_receiveUp = false;
}

/** A page frame is an attempt even if it breaks off. */
void ModelFarSide::endMessage() {
    if (i_inMessage && i_place.message == HostMessage::Page) {
        i_lastPage = i_place.page;
        i_attempts = i_place.attempt;
        i_good = false;
    }
    i_inMessage = false;
}

/** Takes the byte on offer, or continues after the last byte of a message. */
bool ModelFarSide::pollHost() {
    if (!i_messageComplete) {
        if (byte(MAILBOX_TX_FLAG) != TX_BYTE_OFFERED) {
            return false;
        }
        placeByte();
        if (!injectFaults()) {
            return i_upAt.has_value();
        }
        takeByte();
        return true;
    }
    return finishMessage() || i_upAt.has_value();
}

/** False if a fault after the message holds the answer back, for now or for good. */
bool ModelFarSide::finishMessage() {
    if (!injectFaults()) {
        return false;
    }
    i_messageComplete = false;
    i_message.clear();
    queueVerdict();
    return true;
}

void ModelFarSide::beginMessage() {
    i_inMessage = true;
    i_place = {};
    if (!i_opened) {
        i_opened = true;
        i_place.message = HostMessage::Begin;
    } else {
        placePage(i_good ? i_lastPage + 1 : i_lastPage);
    }
}

void ModelFarSide::placePage(unsigned page) {
    i_place.message = HostMessage::Page;
    i_place.page = static_cast<uint16_t>(page);
    i_place.attempt = page == i_lastPage ? i_attempts + 1 : 1;
}

void ModelFarSide::placeByte() {
    if (!i_inMessage) {
        beginMessage();
    }
    constexpr size_t idKnown = 4;
    constexpr size_t numberKnown = PAGE_NUMBER + 2;
    const bool isPage = i_place.message == HostMessage::Page;
    if (i_message.size() == idKnown) {
        const unsigned id = Big(i_message, 2, 2);
        if (id == ID_INFO || id == ID_END) {
            i_place.message = id == ID_INFO ? HostMessage::Info : HostMessage::End;
        } else if (id == ID_PAGE && !isPage) {
            placePage(i_lastPage);
        }
    } else if (i_message.size() == numberKnown && isPage) {
        placePage(Big(i_message, PAGE_NUMBER, 2));
    }
    i_place.byte = static_cast<unsigned>(i_message.size());
}

/** Injects the faults at this place. False if one stops the message, for now or for good. */
bool ModelFarSide::injectFaults() {
    if (i_heldUntil && i_now < *i_heldUntil) {
        return false;
    }
    i_heldUntil.reset();
    for (PendingFault& fault : i_faults) {
        if (!fault.done && fault.kind <= FaultKind::Early && IsAt(fault.place, i_place)) {
            fault.done = true;
            if (!inject(fault)) {
                return false;
            }
        }
    }
    return true;
}

bool ModelFarSide::inject(const PendingFault& fault) {
    const uint32_t value = fault.value.value_or(0);
    switch (fault.kind) {
        case FaultKind::Slow:
            i_heldUntil = i_now + value;
            return injectFaults();
        case FaultKind::Die:
            i_dead = true;
            return false;
        case FaultKind::Reset:
            clear();
            disarm();
            if (fault.value) {
                i_upAt = i_now + value;
            }
            return false;
        case FaultKind::State10:
            write(MAILBOX_TX_STATE, value);
            return true;
        case FaultKind::State7:
            write(MAILBOX_RX_STATE, value);
            return true;
        case FaultKind::Unasked:
            queueText(AnswerText(static_cast<unsigned char>(value)));
            return true;
        default:
            queueText(AnswerText(0).substr(0, value));
            i_early = value;
            return true;
    }
}

void ModelFarSide::takeByte() {
    i_message.push_back(static_cast<char>(byte(MAILBOX_TX_DATA)));
    if (i_message.size() >= HEADER && i_message.size() == Big(i_message, 4, 4)) {
        handleMessage();
        endMessage();
        i_messageComplete = true;
        ++i_place.byte;
        finishMessage();
    }
    // The last byte is acknowledged even if a fault after it has acted.
    write(MAILBOX_TX_FLAG, TX_BYTE_TAKEN);
}

void ModelFarSide::handleMessage() {
    switch (i_place.message) {
        case HostMessage::Begin:
            i_flash.clear();
            i_begun = i_erased = true;
            i_fits = false;
            i_lastPage = i_attempts = 0;
            i_good = false;
            break;
        case HostMessage::Page:
            i_verdict = judgePage();
            break;
        case HostMessage::Info:
            i_fits = Big(i_message, HEADER, 2) * PAGE == i_flash.size();
            break;
        case HostMessage::End:
            if (i_begun && i_fits) {
                writeRevision(TOOL_REVISION);
            }
            i_begun = i_fits = false;
            break;
    }
}

/** After an opening message, the next page and a repetition of the last one are good. */
unsigned char ModelFarSide::judgePage() {
    constexpr unsigned char good = 0;
    constexpr unsigned char outOfOrder = 2;
    constexpr unsigned char notBegun = 4;
    const size_t begin = i_place.page * PAGE;
    if (!i_erased) {
        return notBegun;
    }
    if (begin != i_flash.size() && begin + PAGE != i_flash.size()) {
        return outOfOrder;
    }
    i_flash.resize(begin);
    i_flash += i_message.substr(PAGE_DATA);
    return good;
}

void ModelFarSide::queueText(const std::string& bytes) {
    for (const char byte : bytes) {
        i_queue.push_back({static_cast<unsigned char>(byte)});
    }
}

std::vector<Fault> ModelFarSide::answerFaults() const {
    std::vector<Fault> faults;
    std::copy_if(
        i_faults.begin(), i_faults.end(), std::back_inserter(faults), [this](const Fault& fault) {
            return fault.kind >= FaultKind::Body && fault.kind <= FaultKind::Stop &&
                   fault.place.page == i_place.page && fault.place.attempt == i_place.attempt;
        });
    return faults;
}

/** Queues the answer without the bytes that were sent early. */
void ModelFarSide::queueVerdict() {
    if (!i_verdict) {
        return;
    }
    std::string bytes = AnswerText(*i_verdict);
    i_verdict.reset();
    const std::vector<Fault> faults = answerFaults();
    for (const Fault& fault : faults) {
        Corrupt(bytes, fault);
    }
    const size_t first = std::min(i_early, bytes.size());
    i_early = 0;
    for (size_t i = first; i <= bytes.size(); ++i) {
        AnswerByte byte;
        byte.none = i == bytes.size();
        byte.byte = static_cast<unsigned char>(byte.none ? 0 : bytes[i]);
        for (const Fault& fault : faults) {
            const uint32_t value = fault.value.value_or(0);
            const bool here = fault.place.byte == i;
            if (here && fault.kind == FaultKind::Late) {
                byte.waitsMs.push_back(value);
            }
            byte.overrun |= here && fault.kind == FaultKind::Overrun;
            byte.dieBefore |= fault.kind == FaultKind::Stop && value <= bytes.size() &&
                              i == std::max<size_t>(value, first);
        }
        if (!byte.none || byte.dieBefore) {
            i_queue.push_back(byte);
        }
    }
}

bool ModelFarSide::mayOffer() {
    if (!i_receiveUp || (i_offerAt && i_now < *i_offerAt)) {
        return false;
    }
    return i_directionNew || byte(MAILBOX_RX_FLAG) == RX_BYTE_TAKEN;
}

bool ModelFarSide::offer() {
    if (i_queue.empty()) {
        return false;
    }
    AnswerByte& next = i_queue.front();
    if (next.dieBefore) {
        i_dead = true;
        return false;
    }
    if (!mayOffer()) {
        return false;
    }
    if (!next.waitsMs.empty()) {
        i_offerAt = i_now + next.waitsMs.front();
        next.waitsMs.pop_front();
        return true;
    }
    i_offerAt.reset();
    const AnswerByte given = next;
    i_queue.pop_front();
    write(MAILBOX_RX_DATA, given.byte);
    if (!given.overrun) {
        write(MAILBOX_RX_FLAG, RX_BYTE_OFFERED);
        i_directionNew = false;
        noteOffered(given.byte);
    }
    return true;
}

void ModelFarSide::noteOffered(unsigned char byte) {
    i_read.push_back(static_cast<char>(byte));
    // Of an invalid message the host reads only the header.
    if (i_read.size() >= HEADER && i_read.size() == SizeOfAnswer(i_read).value_or(HEADER)) {
        i_good = IsGoodAnswer(i_read);
        i_read.clear();
    }
}

}  // namespace campaign
