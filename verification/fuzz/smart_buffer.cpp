#include "link/smartbuffer.h"

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "cpputils/include/optional.h"
#include "verification/fuzz/fuzzing.h"

/**
 * Input: a byte for the number of operations, a byte for each operation, and the buffer. A model of
 * the reader, written from the format, does the same operations. The two are compared after each.
 */
namespace {

using Text = std::string;

/** The expected behaviour of a reader of the bytes. */
class Model {
  public:
    explicit Model(std::string bytes) : i_bytes(std::move(bytes)) {}

    size_t offset() const { return i_offset; }
    size_t remaining() const { return i_bytes.size() - i_offset; }
    bool hasFailed() const { return i_failed; }
    void fail() { i_failed = true; }

    bool moveTo(size_t offset) {
        if (offset > i_bytes.size()) {
            return false;
        }
        i_offset = offset;
        i_bit = 0;
        i_failed = false;
        return true;
    }

    /** True if `count` bytes are left. Moves them to `taken`. */
    bool take(size_t count, std::string& taken) {
        if (i_failed || count > remaining()) {
            i_failed = true;
            return false;
        }
        taken = i_bytes.substr(i_offset, count);
        i_offset += count;
        i_bit = 0;
        return true;
    }

    void read(bool& value) {
        std::string byte;
        const unsigned bit = i_bit;
        if (i_failed || (bit == 0 && !take(1, byte))) {
            return;
        }
        value = (static_cast<unsigned char>(i_bytes[i_offset - 1]) >> (7 - bit) & 1) != 0;
        i_bit = (bit + 1) % 8;
    }

    template <typename T>
    std::enable_if_t<std::is_integral_v<T>> read(T& value) {
        std::string taken;
        if (take(sizeof value, taken)) {
            value = static_cast<T>(fuzzing::NumberAt(taken, 0, sizeof value));
        }
    }

    void read(float& value) { readReal<uint32_t>(value); }
    void read(double& value) { readReal<uint64_t>(value); }

    void read(Text& value) {
        uint32_t length = 0;
        read(length);
        std::string taken;
        if (!i_failed && (length == 0 || take(length, taken))) {
            value = taken.substr(0, taken.find('\0'));
        }
    }

    void read(std::vector<uint16_t>& values) {
        values.clear();
        uint32_t count = 0;
        read(count);
        for (uint32_t i = 0; i < count && !i_failed; ++i) {
            uint16_t value = 0;
            read(value);
            values.push_back(value);
        }
    }

  private:
    template <typename Bits, typename T>
    void readReal(T& value) {
        Bits bits;
        memcpy(&bits, &value, sizeof bits);
        read(bits);
        memcpy(&value, &bits, sizeof bits);
    }

    const std::string i_bytes;
    size_t i_offset = 0;
    unsigned i_bit = 0;
    bool i_failed = false;
};

/** Whether two values have the same bits, since NaN equals nothing. */
template <typename T>
bool AreSame(const T& left, const T& right) {
    if constexpr (std::is_arithmetic_v<T>) {
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): compares bits on purpose
        return memcmp(&left, &right, sizeof left) == 0;
    } else {
        return left == right;
    }
}

template <typename T>
void ReadBoth(SmartBufferReader& reader, Model& model, T start) {
    T value = start;
    T expected = start;
    reader >> value;
    model.read(expected);
    REQUIRE(AreSame(value, expected));
}

void ReadRaw(SmartBufferReader& reader, Model& model, int count) {
    std::string bytes(count > 0 ? static_cast<size_t>(count) : 1, '?');
    std::string expected = bytes;
    std::string taken;
    int result = 0;
    if (count < 0) {
        model.fail();
    } else if (count > 0 && model.take(static_cast<size_t>(count), taken)) {
        expected = taken;
        result = count;
    }
    REQUIRE(reader.read(bytes.data(), count) == result);
    REQUIRE(bytes == expected);
}

/** After a failure the value is absent, and must not be read. */
void ReadOptional(SmartBufferReader& reader, Model& model) {
    Optional<uint32_t> value;
    bool exists = false;
    uint32_t expected = 0;
    reader >> value;
    model.read(exists);
    if (exists) {
        model.read(expected);
    }
    REQUIRE(value.exists() == exists);
    REQUIRE(!exists || value.data() == expected);
}

/** Tests a reader of at most `length` bytes from the current offset. */
void ReadPart(const SmartBufferReader& reader, const Model& model, uint32_t length) {
    SmartBufferReader part;
    const auto start = static_cast<uint32_t>(model.offset());
    const bool fits = length <= model.remaining();
    REQUIRE((part.initView(reader, start, length) == 0) == fits);
    REQUIRE(part.isInit() == fits);
    std::string all(length, '\0');
    REQUIRE(part.read(all.data(), static_cast<int>(length)) ==
            (fits ? static_cast<int>(length) : 0));
    REQUIRE(part.initView(reader, start) == 0);
    REQUIRE(part.bytesRemaining() == model.remaining());
}

void Move(SmartBufferReader& reader, Model& model, unsigned offset) {
    REQUIRE((reader.setOffset(offset) == 0) == model.moveTo(offset));
}

/** The low four bits select the operation, the upper four are its argument. */
void Step(SmartBufferReader& reader, Model& model, unsigned operation) {
    const unsigned argument = operation >> 4U;
    switch (operation % 16) {
        case 0:
            ReadBoth(reader, model, false);
            break;
        case 1:
            ReadBoth(reader, model, char{'c'});
            break;
        case 2:
            ReadBoth(reader, model, static_cast<signed char>(-3));
            break;
        case 3:
            ReadBoth(reader, model, static_cast<unsigned char>(3));
            break;
        case 4:
            ReadBoth(reader, model, static_cast<short>(-4));
            break;
        case 5:
            ReadBoth(reader, model, static_cast<unsigned short>(4));
            break;
        case 6:
            argument % 2 == 0 ? ReadBoth(reader, model, -5) : ReadBoth(reader, model, 5U);
            break;
        case 7:
            argument % 2 == 0 ? ReadBoth(reader, model, -6L) : ReadBoth(reader, model, 6UL);
            break;
        case 8:
            argument % 2 == 0 ? ReadBoth(reader, model, -7LL) : ReadBoth(reader, model, 7ULL);
            break;
        case 9:
            argument % 2 == 0 ? ReadBoth(reader, model, 8.5F) : ReadBoth(reader, model, 9.5);
            break;
        case 10:
            ReadBoth(reader, model, Text("before"));
            break;
        case 11:
            ReadBoth(reader, model, std::vector<uint16_t>{1, 2});
            break;
        case 12:
            ReadOptional(reader, model);
            break;
        case 13:
            ReadRaw(reader, model, static_cast<int>(argument) - 1);
            break;
        case 14:
            ReadPart(reader, model, argument);
            break;
        default:
            Move(reader, model, argument);
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::Input input(bytes, size);
    const std::string operations = input.takeText(input.takeByte());
    const std::string contents = input.takeRest();
    // An array of this exact size, so that AddressSanitizer sees any access past the end.
    const std::unique_ptr<unsigned char[]> array(new unsigned char[contents.size()]);
    memcpy(array.get(), contents.data(), contents.size());
    Model model(contents);
    SmartBufferReader reader;
    reader.initBuffer(array.get(), static_cast<uint32_t>(contents.size()));
    for (const char operation : operations) {
        Step(reader, model, static_cast<unsigned char>(operation));
        REQUIRE(reader.isInit());
        REQUIRE(reader.hasFailed() == model.hasFailed());
        REQUIRE(reader.getOffset() == model.offset());
        REQUIRE(reader.bytesRemaining() == model.remaining());
    }
    return 0;
}
