#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "cpputils/include/pipeio.h"
#include "verification/fuzz/fuzzing.h"

/**
 * Input: a byte for the number of reads, a byte for each read, and the stream. The expected values
 * are computed from the stream. A value that doesn't arrive must stay unchanged.
 */
namespace {

/** ReadBytes allocates the stated length at once, so larger lengths are not tested. */
constexpr uint32_t MAX_LENGTH = 1U << 16U;

class Stream {
  public:
    explicit Stream(std::string bytes) : i_bytes(std::move(bytes)) { i_file.write(i_bytes); }

    void readByte() {
        unsigned char byte = '?';
        const bool arrives = i_position < i_bytes.size();
        REQUIRE(ReadByte(i_file.fd(), byte) == (arrives ? 0 : EPIPE));
        REQUIRE(byte == (arrives ? static_cast<unsigned char>(i_bytes[i_position]) : '?'));
        skip(1);
    }

    void readInt() {
        int value = -7;
        int expected = -7;
        const bool arrives = number(expected);
        REQUIRE(ReadInt(i_file.fd(), value) == (arrives ? 0 : EPIPE));
        REQUIRE(value == expected);
        skip(sizeof value);
    }

    void readString() {
        std::string text = "before";
        uint32_t length = 0;
        const bool arrives = number(length) && length <= rest().size() - sizeof length;
        REQUIRE(ReadString(i_file.fd(), text) == (arrives ? 0 : EPIPE));
        REQUIRE(text == (arrives ? rest().substr(sizeof length, length) : "before"));
        skip(sizeof length + length);
    }

    void readBytes() {
        std::vector<char> bytes = {'b'};
        uint32_t length = 0;
        const bool hasLength = number(length);
        if (length > MAX_LENGTH) {
            return;
        }
        const bool arrives = hasLength && length <= rest().size() - sizeof length;
        REQUIRE(ReadBytes(i_file.fd(), bytes) == (arrives ? 0 : EPIPE));
        std::string expected = "b";
        if (hasLength) {
            const std::string content = rest().substr(sizeof length, length);
            expected.resize(length);
            expected.replace(0, content.size(), content);
        }
        REQUIRE(std::string(bytes.begin(), bytes.end()) == expected);
        skip(sizeof length + length);
    }

    void requirePosition() const {
        REQUIRE(lseek(i_file.fd(), 0, SEEK_CUR) == static_cast<off_t>(i_position));
    }

  private:
    std::string rest() const { return i_bytes.substr(i_position); }
    void skip(size_t count) { i_position += std::min(count, i_bytes.size() - i_position); }

    /** Reads the next four bytes without taking them. False if there are fewer; `value` is
     * unchanged. */
    template <typename T>
    bool number(T& value) const {
        const bool arrives = i_bytes.size() - i_position >= sizeof value;
        if (arrives) {
            memcpy(&value, i_bytes.data() + i_position, sizeof value);
        }
        return arrives;
    }

    const std::string i_bytes;
    size_t i_position = 0;
    fuzzing::MemoryFile i_file;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::Input input(bytes, size);
    const std::string order = input.takeText(input.takeByte());
    Stream stream(input.takeRest());
    constexpr void (Stream::*reads[])() = {&Stream::readByte, &Stream::readInt, &Stream::readString,
                                           &Stream::readBytes};
    for (const char read : order) {
        (stream.*reads[static_cast<unsigned char>(read) % 4U])();
        stream.requirePosition();
    }
    return 0;
}
