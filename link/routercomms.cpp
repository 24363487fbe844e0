#include "link/routercomms.h"

#include <cstring>
#include <new>
#include <utility>

#include "link/handover.h"
#include "link/mailbox.h"

namespace {

constexpr time_t RECEIVE_LIMIT_SECONDS = 3;

}  // namespace

void ResetMailbox(RouterCommsInterface& comms) {
    static_assert(MAILBOX_RX_DATA == 5 && MAILBOX_TX_STATE == 10);
    for (unsigned int address = MAILBOX_RX_DATA; address <= MAILBOX_TX_STATE; ++address) {
        comms.writeAddress(address, 0);
    }
}

RouterCommWriter::RouterCommWriter(RouterCommsInterface* comms) : i_comms(comms) {}

bool RouterCommWriter::send(const YAMPMessage& message) {
    unsigned int bodySize = 0;
    if (GetPackedSize(message, bodySize) != 0 || bodySize > YAMP_MAX_BODY) {
        return false;
    }
    const unsigned int frameSize = YAMP_HEADER_SIZE + bodySize;
    const std::unique_ptr<unsigned char[]> frame(new (std::nothrow) unsigned char[frameSize]);
    unsigned int packedSize = 0;
    if (frame == nullptr || YAMPPack(frame.get(), frameSize, message, &packedSize) != 0) {
        return false;
    }
    return sendBytes(frame.get(), packedSize);
}

bool RouterCommWriter::sendBytes(const void* bytes, unsigned int count) {
    if (bytes == nullptr) {
        return true;
    }
    const auto* first = static_cast<const unsigned char*>(bytes);
    auto* direct = dynamic_cast<DirectHandOver*>(i_comms);
    return direct != nullptr ? direct->handOver(first, count) : HandOver(*i_comms, first, count);
}

bool RouterCommWriter::sendByte(unsigned char byte) {
    return sendBytes(&byte, 1);
}

bool RouterCommWriter::isControllerPresent() {
    return i_comms->readAddress(MAILBOX_TX_STATE) != STATE_ABSENT;
}

RouterCommReader::RouterCommReader(RouterCommsInterface* comms) : i_comms(comms) {}

RouterCommReader::~RouterCommReader() {
    i_comms->writeAddress(MAILBOX_RX_STATE, STATE_ABSENT);
}

void RouterCommReader::enable() {
    if (i_comms->readAddress(MAILBOX_RX_STATE) == STATE_ABSENT) {
        i_comms->writeAddress(MAILBOX_RX_STATE, STATE_REQUESTED);
    }
}

std::unique_ptr<SmartBufferReader> RouterCommReader::readMessage(RefPtr<RefBuffer>& buffer,
                                                                 uint16_t& id) {
    unsigned char header[YAMP_HEADER_SIZE];
    if (!readBytes(header, sizeof header, sizeof header)) {
        return nullptr;
    }
    unsigned int totalLength = 0;
    if (YAMPParseHeader(header, sizeof header, &totalLength, &id) != 0 ||
        totalLength > YAMP_MAX_FRAME) {
        return nullptr;
    }
    // Not zero-filled, because the length is not trusted: memory is touched only as bytes arrive.
    std::unique_ptr<unsigned char[]> memory(new (std::nothrow) unsigned char[totalLength]);
    RefPtr<RefBuffer> received(new (std::nothrow) RefBuffer(memory.get(), totalLength));
    if (memory == nullptr || received.get() == nullptr) {
        return nullptr;
    }
    unsigned char* const frame = memory.release();  // owned by the buffer from here on
    buffer = std::move(received);
    memcpy(frame, header, sizeof header);
    const unsigned int bodySize = totalLength - YAMP_HEADER_SIZE;
    if (!readBytes(frame + YAMP_HEADER_SIZE, bodySize, bodySize)) {
        return nullptr;
    }
    return YAMPOpenBody(frame, totalLength, &id);
}

bool RouterCommReader::readBytes(void* bytes, unsigned int capacity, unsigned int count) {
    if (bytes == nullptr) {
        return false;
    }
    auto* next = static_cast<unsigned char*>(bytes);
    unsigned int position = 0;
    while (position < count && position < capacity && readByte(next + position)) {
        ++position;
    }
    return position == count;
}

bool RouterCommReader::readByte(unsigned char* byte) {
    if (i_comms->readAddress(MAILBOX_RX_STATE) != STATE_READY) {
        return false;
    }
    if (!WaitForFlag(*i_comms, MAILBOX_RX_FLAG, RX_BYTE_OFFERED, RECEIVE_LIMIT_SECONDS)) {
        ResetMailbox(*i_comms);
        return false;
    }
    *byte = i_comms->readAddress(MAILBOX_RX_DATA);
    i_comms->writeAddress(MAILBOX_RX_FLAG, RX_BYTE_TAKEN);
    return true;
}

bool RouterCommReader::isByteOffered() {
    return i_comms->readAddress(MAILBOX_RX_FLAG) == RX_BYTE_OFFERED;
}

uint16_t RouterCommReader::getControllerRevision() {
    // Two statements, so that the high byte is read first.
    const unsigned int high = i_comms->readAddress(MAILBOX_REVISION_HIGH);
    const unsigned int low = i_comms->readAddress(MAILBOX_REVISION_LOW);
    return static_cast<uint16_t>(high * 256 + low);
}
