#include "link/smartbuffer.h"

#include <algorithm>
#include <cstring>
#include <limits>

static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(float) == 4 && sizeof(double) == 8);

namespace {

constexpr unsigned BITS_PER_BYTE = 8;
constexpr uint32_t WIRE_LONG = 8;  // bytes; the machine's long may have another size

/** The bit pattern of a float or a double. */
template <typename Bits, typename T>
Bits BitsOf(T value) {
    static_assert(sizeof(Bits) == sizeof(T));
    Bits bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

}  // namespace

int SmartBufferWriter::write(const void* bytes, int count) {
    unsigned char* place = nullptr;
    const int claimed = claimRaw(bytes, count, place);
    if (place != nullptr) {
        memcpy(place, bytes, static_cast<size_t>(claimed));
    }
    return claimed;
}

int SmartBufferWriter::restoreCheckpoint(const Checkpoint& checkpoint) {
    if (!checkpoint.valid() || checkpoint.offset() > i_offset) {
        return -1;
    }
    return setOffset(checkpoint.offset());
}

void SmartBufferWriter::writeBigEndian(uint64_t value, uint32_t width) {
    unsigned char* place = nullptr;
    if (!claim(width, place) || place == nullptr) {
        return;
    }
    for (uint32_t i = width; i-- != 0;) {
        place[i] = static_cast<unsigned char>(value);
        value >>= BITS_PER_BYTE;
    }
}

void SmartBufferWriter::write(const bool& value) {
    const bool opensByte = i_boolBufferOffset == 0;
    unsigned char* place = nullptr;
    unsigned char bit = 0;
    if (!claimBit(place, bit) || place == nullptr) {
        return;
    }
    if (opensByte) {
        *place = 0;
    }
    if (value) {
        *place = static_cast<unsigned char>(*place | bit);
    }
}

void SmartBufferWriter::write(const char& value) {
    write(static_cast<unsigned char>(value));
}

void SmartBufferWriter::write(const signed char& value) {
    write(static_cast<unsigned char>(value));
}

void SmartBufferWriter::write(const unsigned char& value) {
    writeBigEndian(value, sizeof value);
}

void SmartBufferWriter::write(const short& value) {
    write(static_cast<unsigned short>(value));
}

void SmartBufferWriter::write(const unsigned short& value) {
    writeBigEndian(value, sizeof value);
}

void SmartBufferWriter::write(const int& value) {
    write(static_cast<unsigned int>(value));
}

void SmartBufferWriter::write(const unsigned int& value) {
    writeBigEndian(value, sizeof value);
}

void SmartBufferWriter::write(const long& value) {
    write(static_cast<long long>(value));
}

void SmartBufferWriter::write(const unsigned long& value) {
    writeBigEndian(value, WIRE_LONG);
}

void SmartBufferWriter::write(const long long& value) {
    write(static_cast<unsigned long long>(value));
}

void SmartBufferWriter::write(const unsigned long long& value) {
    writeBigEndian(value, WIRE_LONG);
}

void SmartBufferWriter::write(const float& value) {
    write(BitsOf<unsigned int>(value));
}

void SmartBufferWriter::write(const double& value) {
    write(BitsOf<unsigned long long>(value));
}

void SmartBufferWriter::write(const Packable& value) {
    value.pack(*this);
}

void SmartBufferWriter::write(const std::string& value) {
    write(static_cast<unsigned int>(value.size()));
    unsigned char* place = nullptr;
    if (!value.empty() && claim(static_cast<uint32_t>(value.size()), place) && place != nullptr) {
        std::copy(value.begin(), value.end(), place);
    }
}

int SmartBufferReader::read(void* bytes, int count) {
    const unsigned char* place = nullptr;
    const int claimed = claimRaw(bytes, count, place);
    if (place != nullptr) {
        memcpy(bytes, place, static_cast<size_t>(claimed));
    }
    return claimed;
}

/** True if `value` was read. A sizing buffer only moves its offset. */
bool SmartBufferReader::readBigEndian(uint64_t& value, uint32_t width) {
    const unsigned char* place = nullptr;
    if (!claim(width, place) || place == nullptr) {
        return false;
    }
    value = 0;
    for (uint32_t i = 0; i < width; ++i) {
        value = value << BITS_PER_BYTE | place[i];
    }
    return true;
}

template <typename T>
void SmartBufferReader::readInteger(T& value) {
    uint64_t bits = 0;
    if (readBigEndian(bits, sizeof value)) {
        value = static_cast<T>(bits);
    }
}

/** Reads a `Wide` and fails if the machine's `T` can't hold it. */
template <typename Wide, typename T>
void SmartBufferReader::readNarrowed(T& value) {
    uint64_t bits = 0;
    if (!readBigEndian(bits, WIRE_LONG)) {
        return;
    }
    const auto wide = static_cast<Wide>(bits);
    if (wide < std::numeric_limits<T>::min() || wide > std::numeric_limits<T>::max()) {
        setFailed();
        return;
    }
    value = static_cast<T>(wide);
}

void SmartBufferReader::read(bool& value) {
    const unsigned char* place = nullptr;
    unsigned char bit = 0;
    if (claimBit(place, bit) && place != nullptr) {
        value = (*place & bit) != 0;
    }
}

void SmartBufferReader::read(char& value) {
    readInteger(value);
}

void SmartBufferReader::read(signed char& value) {
    readInteger(value);
}

void SmartBufferReader::read(unsigned char& value) {
    readInteger(value);
}

void SmartBufferReader::read(short& value) {
    readInteger(value);
}

void SmartBufferReader::read(unsigned short& value) {
    readInteger(value);
}

void SmartBufferReader::read(int& value) {
    readInteger(value);
}

void SmartBufferReader::read(unsigned int& value) {
    readInteger(value);
}

void SmartBufferReader::read(long& value) {
    readNarrowed<int64_t>(value);
}

void SmartBufferReader::read(unsigned long& value) {
    readNarrowed<uint64_t>(value);
}

void SmartBufferReader::read(long long& value) {
    readInteger(value);
}

void SmartBufferReader::read(unsigned long long& value) {
    readInteger(value);
}

void SmartBufferReader::read(float& value) {
    auto bits = BitsOf<unsigned int>(value);
    read(bits);
    value = BitsOf<float>(bits);
}

void SmartBufferReader::read(double& value) {
    auto bits = BitsOf<unsigned long long>(value);
    read(bits);
    value = BitsOf<double>(bits);
}

void SmartBufferReader::read(Packable& value) {
    value.unpack(*this);
}

void SmartBufferReader::read(std::string& value) {
    unsigned int length = 0;
    read(length);
    const unsigned char* place = nullptr;
    if (hasFailed() || (length != 0 && !claim(length, place))) {
        return;
    }
    const char* text = reinterpret_cast<const char*>(place);
    value.assign(text != nullptr ? text : "", text != nullptr ? strnlen(text, length) : 0);
}

int GetPackedSize(const Packable& object, unsigned int& size) {
    SmartBufferWriter writer;
    writer.initSizing();
    writer << object;
    if (writer.hasFailed()) {
        return -1;
    }
    size = writer.getOffset();
    return 0;
}
