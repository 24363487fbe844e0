#include "link/yamp.h"

#include <algorithm>
#include <new>

namespace {

constexpr unsigned char FIRST_LEAD_BYTE = 2;
constexpr unsigned char SECOND_LEAD_BYTE = 220;

}  // namespace

int YAMPPack(void* buffer, unsigned int bufferSize, const YAMPMessage& message,
             unsigned int* packedSize) {
    if (buffer == nullptr || bufferSize < YAMP_HEADER_SIZE) {
        return -1;
    }
    SmartBufferWriter header;
    header.initBuffer(buffer, YAMP_HEADER_SIZE);
    SmartBufferWriter body;
    body.initBuffer(static_cast<unsigned char*>(buffer) + YAMP_HEADER_SIZE,
                    std::min(bufferSize - YAMP_HEADER_SIZE, YAMP_MAX_BODY));
    body << message;
    if (body.hasFailed()) {
        return -1;
    }
    *packedSize = body.getOffset() + YAMP_HEADER_SIZE;
    header << FIRST_LEAD_BYTE << SECOND_LEAD_BYTE << static_cast<unsigned short>(message.getId())
           << *packedSize;
    return header.hasFailed() ? -1 : 0;
}

int YAMPParseHeader(const void* bytes, unsigned int size, unsigned int* totalLength, uint16_t* id) {
    if (bytes == nullptr || size < YAMP_HEADER_SIZE) {
        return -1;
    }
    SmartBufferReader header;
    header.initBuffer(bytes, YAMP_HEADER_SIZE);
    unsigned char firstLead = 0;
    unsigned char secondLead = 0;
    header >> firstLead >> secondLead >> *id >> *totalLength;
    const bool valid = !header.hasFailed() && firstLead == FIRST_LEAD_BYTE &&
                       secondLead == SECOND_LEAD_BYTE && *totalLength >= YAMP_HEADER_SIZE;
    return valid ? 0 : -1;
}

std::unique_ptr<SmartBufferReader> YAMPOpenBody(const void* frame, unsigned int size,
                                                uint16_t* id) {
    unsigned int totalLength = 0;
    if (YAMPParseHeader(frame, size, &totalLength, id) != 0 || totalLength > size) {
        return nullptr;
    }
    std::unique_ptr<SmartBufferReader> reader(new (std::nothrow) SmartBufferReader);
    if (reader != nullptr) {
        reader->initBuffer(static_cast<const unsigned char*>(frame) + YAMP_HEADER_SIZE,
                           std::min(totalLength - YAMP_HEADER_SIZE, YAMP_MAX_BODY));
    }
    return reader;
}
