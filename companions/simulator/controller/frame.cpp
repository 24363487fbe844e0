#include "companions/simulator/controller/frame.h"

namespace controller {

namespace {

/** In bytes. A page has 272; a length above this is corrupt. */
constexpr uint32_t LONGEST_FRAME = 4096;

}  // namespace

uint16_t ReadU16(const uint8_t* bytes) {
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

uint32_t ReadU32(const uint8_t* bytes) {
    return uint32_t{ReadU16(bytes)} << 16 | ReadU16(bytes + 2);
}

std::vector<uint8_t> PackFrame(uint16_t id, const std::vector<uint8_t>& body) {
    const auto length = static_cast<uint32_t>(HEADER_SIZE + body.size());
    std::vector<uint8_t> bytes = {FIRST_LEAD_BYTE, SECOND_LEAD_BYTE};
    for (const unsigned shift : {8U, 0U}) {
        bytes.push_back(static_cast<uint8_t>(id >> shift));
    }
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes.push_back(static_cast<uint8_t>(length >> shift));
    }
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

std::vector<uint8_t> PackResult(uint8_t result) {
    return PackFrame(ID_PAGE_RESULT, {result});
}

bool FrameReader::plausible() const {
    if (i_bytes[0] != FIRST_LEAD_BYTE || (i_bytes.size() > 1 && i_bytes[1] != SECOND_LEAD_BYTE)) {
        return false;
    }
    if (i_bytes.size() < HEADER_SIZE) {
        return true;
    }
    const uint32_t length = ReadU32(i_bytes.data() + LENGTH_OFFSET);
    return length >= HEADER_SIZE && length <= LONGEST_FRAME;
}

std::optional<Frame> FrameReader::push(uint8_t byte) {
    i_bytes.push_back(byte);
    while (!i_bytes.empty() && !plausible()) {
        i_bytes.erase(i_bytes.begin());
        ++i_droppedBytes;
    }
    if (i_bytes.size() < HEADER_SIZE || i_bytes.size() < ReadU32(i_bytes.data() + LENGTH_OFFSET)) {
        return std::nullopt;
    }
    Frame frame;
    frame.id = ReadU16(i_bytes.data() + ID_OFFSET);
    frame.body.assign(i_bytes.begin() + HEADER_SIZE, i_bytes.end());
    i_bytes.clear();
    return frame;
}

}  // namespace controller
