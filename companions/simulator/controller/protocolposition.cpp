#include "companions/simulator/controller/protocolposition.h"

namespace controller {

namespace {

/** The longest answer that a host accepts, in bytes. */
constexpr uint32_t LONGEST_ANSWER = 0x8000000;

/** How many bytes the host reads of an answer with this header: only the header if it is bad. */
size_t BytesRead(const std::vector<uint8_t>& header) {
    const uint32_t length = ReadU32(header.data() + LENGTH_OFFSET);
    const bool sound = header[0] == FIRST_LEAD_BYTE && header[1] == SECOND_LEAD_BYTE &&
                       length >= HEADER_SIZE && length <= LONGEST_ANSWER;
    return sound ? length : HEADER_SIZE;
}

bool IsGood(const std::vector<uint8_t>& answer) {
    return answer.size() > HEADER_SIZE && ReadU16(answer.data() + ID_OFFSET) == ID_PAGE_RESULT &&
           answer[HEADER_SIZE] == 0;
}

}  // namespace

void ProtocolPosition::identify(const std::vector<uint8_t>& begun) {
    if (!i_begun) {
        start();
    }
    if (begun.size() == ID_KNOWN) {
        recognise(ReadU16(begun.data() + ID_OFFSET));
    } else if (begun.size() == NUMBER_KNOWN && i_place.message == HostMessage::Page) {
        number(ReadU16(begun.data() + HEADER_SIZE));
    }
}

void ProtocolPosition::start() {
    i_begun = true;
    i_known = true;
    i_place = {HostMessage::Page, 0, 1, i_place.byte};
    i_good = i_good || i_goodOffered;
    i_goodOffered = false;
    if (!i_opened) {
        i_opened = true;
        i_place.message = HostMessage::Begin;
        return;
    }
    guessPage();
}

void ProtocolPosition::guessPage() {
    number(i_good ? static_cast<uint16_t>(i_lastPage + 1) : i_lastPage);
}

void ProtocolPosition::number(uint16_t page) {
    i_place.page = page;
    i_place.attempt = page == i_lastPage ? i_attempts + 1 : 1;
}

void ProtocolPosition::recognise(uint16_t id) {
    const bool pageGuessed = i_place.message == HostMessage::Page;
    switch (id) {
        case ID_UPGRADE_BEGIN:
            i_place.message = HostMessage::Begin;
            break;
        case ID_FLASH_PAGE:
            i_place.message = HostMessage::Page;
            break;
        case ID_UPGRADE_INFO:
            i_place.message = HostMessage::Info;
            break;
        case ID_UPGRADE_END:
            i_place.message = HostMessage::End;
            break;
        default:
            i_known = false;
            break;
    }
    const bool page = i_place.message == HostMessage::Page;
    if (!page) {
        i_place.page = 0;
        i_place.attempt = 1;
    } else if (!pageGuessed) {
        guessPage();
    }
}

void ProtocolPosition::endMessage() {
    if (!i_begun) {
        return;
    }
    i_begun = false;
    if (i_known && i_place.message == HostMessage::Page) {
        i_lastPage = i_place.page;
        i_attempts = i_place.attempt;
        i_good = false;
    }
}

void ProtocolPosition::begin() {
    i_opened = true;
    i_lastPage = 0;
    i_attempts = 0;
    i_good = false;
}

void ProtocolPosition::offered(uint8_t byte) {
    i_answer.push_back(byte);
    if (i_answer.size() < HEADER_SIZE || i_answer.size() < BytesRead(i_answer)) {
        return;
    }
    i_goodOffered = IsGood(i_answer);
    i_answer.clear();
}

void ProtocolPosition::answersLost() {
    i_answer.clear();
    i_goodOffered = false;
}

std::optional<BytePosition> ProtocolPosition::afterMessage() const {
    if (!i_known) {
        return std::nullopt;
    }
    BytePosition place = i_place;
    ++place.byte;
    return place;
}

}  // namespace controller
