#pragma once

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "link/packable.h"
#include "logger/assertion.h"

/**
 * Smart buffers: cursors over the caller's byte array, with typed, bounds-checked,
 * machine-independent access.
 *
 * Numbers are high byte first; a long is always 8 bytes. Consecutive bools share a byte, from the
 * top bit down, until any other access ends the run. A std::string and a std::vector are a 4-byte
 * count followed by their elements. There are no tags and no padding.
 *
 * Failure is sticky. An access that doesn't fit sets it, and so does any access to a buffer that
 * isn't initialised. Later accesses do nothing and leave their targets alone, so the caller checks
 * once, after the last field.
 *
 * In sizing mode the offset moves as if there were room for 4 GiB, and no byte is touched.
 *
 * A buffer belongs to one thread at a time.
 */
class WriteableSmartBuffer {
  public:
    /** A position to return to. A default-constructed one is invalid. */
    class Checkpoint {
      public:
        Checkpoint() = default;
        explicit Checkpoint(uint32_t offset) : i_offset(offset), i_valid(true) {}
        virtual ~Checkpoint() = default;
        Checkpoint(const Checkpoint&) = default;
        Checkpoint& operator=(const Checkpoint&) = default;

        uint32_t offset() const { return i_offset; }
        bool valid() const { return i_valid; }

      private:
        uint32_t i_offset = 0;
        bool i_valid = false;
    };

    virtual ~WriteableSmartBuffer() = default;

    /**
     * Writes raw bytes. Returns `count`, or 0 if nothing was written. A null pointer or a count of
     * 0 is not a failure; a negative count is.
     */
    virtual int write(const void* bytes, int count) = 0;
    virtual uint32_t bytesRemaining() const = 0;
    virtual bool hasFailed() const = 0;
    virtual void setFailed() = 0;
    virtual Checkpoint getCheckpoint() const = 0;
    /** Returns 0, or -1 with no change if the checkpoint is invalid or ahead of the offset. */
    [[nodiscard]] virtual int restoreCheckpoint(const Checkpoint& checkpoint) = 0;

    virtual void write(const bool& value) = 0;
    virtual void write(const char& value) = 0;
    virtual void write(const signed char& value) = 0;
    virtual void write(const unsigned char& value) = 0;
    virtual void write(const short& value) = 0;
    virtual void write(const unsigned short& value) = 0;
    virtual void write(const int& value) = 0;
    virtual void write(const unsigned int& value) = 0;
    virtual void write(const long& value) = 0;
    virtual void write(const unsigned long& value) = 0;
    virtual void write(const long long& value) = 0;
    virtual void write(const unsigned long long& value) = 0;
    virtual void write(const float& value) = 0;
    virtual void write(const double& value) = 0;
    virtual void write(const Packable& value) = 0;
    virtual void write(const std::string& value) = 0;

    /** Otherwise a pointer, such as a string literal, would be written as a bool. */
    template <typename T>
    void write(const T* value) = delete;
};

/** The reading side; see WriteableSmartBuffer. */
class ReadableSmartBuffer {
  public:
    virtual ~ReadableSmartBuffer() = default;

    /** Reads raw bytes. Returns `count`, or 0 if nothing was read; otherwise as the raw write. */
    virtual int read(void* bytes, int count) = 0;
    virtual uint32_t bytesRemaining() const = 0;
    virtual bool hasFailed() const = 0;
    virtual void setFailed() = 0;
    /** Returns to the first byte and clears failure. 0 or -1. */
    [[nodiscard]] virtual int rewind() = 0;

    virtual void read(bool& value) = 0;
    virtual void read(char& value) = 0;
    virtual void read(signed char& value) = 0;
    virtual void read(unsigned char& value) = 0;
    virtual void read(short& value) = 0;
    virtual void read(unsigned short& value) = 0;
    virtual void read(int& value) = 0;
    virtual void read(unsigned int& value) = 0;
    virtual void read(long& value) = 0;
    virtual void read(unsigned long& value) = 0;
    virtual void read(long long& value) = 0;
    virtual void read(unsigned long long& value) = 0;
    virtual void read(float& value) = 0;
    virtual void read(double& value) = 0;
    virtual void read(Packable& value) = 0;
    /** The text ends at the first zero byte among the bytes read. */
    virtual void read(std::string& value) = 0;
};

/**
 * The common part of reader and writer: the array, the cursor and its state. `Byte` is const for
 * the reader.
 *
 *     not initialised --initBuffer, initSizing, initView--> working --no room--> failed
 *     failed --setOffset, restoreCheckpoint, rewind, init...--> working
 *     any --clear--> not initialised
 */
template <typename Byte>
class SmartBufferCursorT {
  public:
    /**
     * Attaches to `size` bytes, which the caller keeps alive. Returns -1, with no change, for null.
     */
    int initBuffer(Byte* bytes, uint32_t size) {
        if (bytes == nullptr) {
            return -1;
        }
        attach(bytes, size);
        return 0;
    }

    void initSizing() {
        attach(nullptr, UINT32_MAX);
        i_sizingOnly = true;
    }

    void clear() { attach(nullptr, 0); }

    /** Also checks the invariants of the cursor. */
    bool isInit() const {
        ASSERT(i_boolBufferOffset < 8);
        ASSERT(i_offset <= i_size);
        if (i_boolBufferOffset != 0) {
            ASSERT(0 != i_offset);
        }
        return i_buffer != nullptr || i_sizingOnly;
    }

    uint32_t getOffset() const { return i_offset; }

    /**
     * Moves the cursor and clears failure. Returns -1, with no change, for an offset past the end.
     */
    [[nodiscard]] int setOffset(uint32_t offset) {
        if (offset > i_size) {
            return -1;
        }
        i_offset = offset;
        i_failed = false;
        i_boolBufferOffset = 0;
        return 0;
    }

  protected:
    SmartBufferCursorT() = default;

    template <typename>
    friend class SmartBufferCursorT;

    /**
     * Attaches to a part of another buffer, whose owner keeps the array. A view of a sizing buffer
     * is not initialised.
     */
    template <typename OtherByte>
    [[nodiscard]] int attachView(const SmartBufferCursorT<OtherByte>& other, uint32_t start,
                                 uint32_t length) {
        if (!other.isInit() || start > other.i_size || length > other.i_size - start) {
            return -1;
        }
        attach(other.i_buffer != nullptr ? other.i_buffer + start : nullptr, length);
        return 0;
    }

    template <typename OtherByte>
    [[nodiscard]] int attachView(const SmartBufferCursorT<OtherByte>& other, uint32_t start) {
        return start > other.i_size ? -1 : attachView(other, start, other.i_size - start);
    }

    uint32_t remaining() const { return i_offset >= i_size ? 0 : i_size - i_offset; }

    /**
     * Moves past `count` bytes and ends a run of bools. False, with failure set, if they don't fit.
     * `place` becomes their first byte, or null in sizing mode.
     */
    [[nodiscard]] bool claim(uint32_t count, Byte*& place) {
        if (i_failed) {
            return false;
        }
        if (!isInit() || count > remaining()) {
            i_failed = true;
            return false;
        }
        place = i_sizingOnly ? nullptr : i_buffer + i_offset;
        i_offset += count;
        i_boolBufferOffset = 0;
        return true;
    }

    /** As claim, for raw bytes from or to `bytes`. Returns `count`, or 0 if nothing is claimed. */
    [[nodiscard]] int claimRaw(const void* bytes, int count, Byte*& place) {
        if (bytes == nullptr || count == 0) {
            return 0;
        }
        if (count < 0) {
            i_failed = true;
            return 0;
        }
        return claim(static_cast<uint32_t>(count), place) ? count : 0;
    }

    /** As claim, for the next bool of a run: `place` is its byte, `bit` its bit in that byte. */
    [[nodiscard]] bool claimBit(Byte*& place, unsigned char& bit) {
        const uint32_t position = i_boolBufferOffset;
        if (position == 0) {
            if (!claim(1, place)) {
                return false;
            }
        } else {
            if (i_failed) {
                return false;
            }
            if (!isInit()) {
                i_failed = true;
                return false;
            }
            place = i_sizingOnly ? nullptr : i_buffer + i_offset - 1;
        }
        bit = static_cast<unsigned char>(0x80U >> position);
        i_boolBufferOffset = (position + 1) % 8;
        return true;
    }

    Byte* i_buffer = nullptr;
    uint32_t i_size = 0;
    uint32_t i_offset = 0;
    bool i_failed = false;
    /** 0: the next bool opens a byte. 1 to 7: its position, from the top, in the last byte. */
    uint32_t i_boolBufferOffset = 0;
    bool i_sizingOnly = false;

  private:
    void attach(Byte* bytes, uint32_t size) {
        i_buffer = bytes;
        i_size = size;
        i_offset = 0;
        i_failed = false;
        i_boolBufferOffset = 0;
        i_sizingOnly = false;
    }
};

class SmartBufferWriter : public WriteableSmartBuffer, public SmartBufferCursorT<unsigned char> {
  public:
    int initBuffer(void* bytes, uint32_t size) {
        return SmartBufferCursorT::initBuffer(static_cast<unsigned char*>(bytes), size);
    }
    /**
     * Attaches to the rest of `other` from `start`, or to `length` bytes of it. Returns -1, with no
     * change, if `other` doesn't hold them.
     */
    int initView(const SmartBufferWriter& other, uint32_t start) {
        return attachView(other, start);
    }
    int initView(const SmartBufferWriter& other, uint32_t start, uint32_t length) {
        return attachView(other, start, length);
    }

    using WriteableSmartBuffer::write;
    int write(const void* bytes, int count) override;
    uint32_t bytesRemaining() const override { return remaining(); }
    bool hasFailed() const override { return i_failed; }
    void setFailed() override { i_failed = true; }
    Checkpoint getCheckpoint() const override { return Checkpoint(i_offset); }
    [[nodiscard]] int restoreCheckpoint(const Checkpoint& checkpoint) override;

    void write(const bool& value) override;
    void write(const char& value) override;
    void write(const signed char& value) override;
    void write(const unsigned char& value) override;
    void write(const short& value) override;
    void write(const unsigned short& value) override;
    void write(const int& value) override;
    void write(const unsigned int& value) override;
    void write(const long& value) override;
    void write(const unsigned long& value) override;
    void write(const long long& value) override;
    void write(const unsigned long long& value) override;
    void write(const float& value) override;
    void write(const double& value) override;
    void write(const Packable& value) override;
    void write(const std::string& value) override;

  private:
    void writeBigEndian(uint64_t value, uint32_t width);
};

class SmartBufferReader : public ReadableSmartBuffer,
                          public SmartBufferCursorT<const unsigned char> {
  public:
    int initBuffer(const void* bytes, uint32_t size) {
        return SmartBufferCursorT::initBuffer(static_cast<const unsigned char*>(bytes), size);
    }
    /** As SmartBufferWriter::initView. A reader may view a writer's bytes too. */
    int initView(const SmartBufferReader& other, uint32_t start) {
        return attachView(other, start);
    }
    int initView(const SmartBufferReader& other, uint32_t start, uint32_t length) {
        return attachView(other, start, length);
    }
    int initView(const SmartBufferWriter& other, uint32_t start) {
        return attachView(other, start);
    }
    int initView(const SmartBufferWriter& other, uint32_t start, uint32_t length) {
        return attachView(other, start, length);
    }

    int read(void* bytes, int count) override;
    uint32_t bytesRemaining() const override { return remaining(); }
    bool hasFailed() const override { return i_failed; }
    void setFailed() override { i_failed = true; }
    [[nodiscard]] int rewind() override { return setOffset(0); }

    void read(bool& value) override;
    void read(char& value) override;
    void read(signed char& value) override;
    void read(unsigned char& value) override;
    void read(short& value) override;
    void read(unsigned short& value) override;
    void read(int& value) override;
    void read(unsigned int& value) override;
    void read(long& value) override;
    void read(unsigned long& value) override;
    void read(long long& value) override;
    void read(unsigned long long& value) override;
    void read(float& value) override;
    void read(double& value) override;
    void read(Packable& value) override;
    void read(std::string& value) override;

  private:
    bool readBigEndian(uint64_t& value, uint32_t width);
    template <typename T>
    void readInteger(T& value);
    template <typename Wide, typename T>
    void readNarrowed(T& value);
};

template <typename T>
WriteableSmartBuffer& operator<<(WriteableSmartBuffer& buffer, const T& value) {
    buffer.write(value);
    return buffer;
}

template <typename T>
ReadableSmartBuffer& operator>>(ReadableSmartBuffer& buffer, T& value) {
    buffer.read(value);
    return buffer;
}

template <typename T>
WriteableSmartBuffer& operator<<(WriteableSmartBuffer& buffer, const std::vector<T>& values) {
    buffer << static_cast<unsigned int>(values.size());
    for (const T& value : values) {
        buffer << value;
    }
    return buffer;
}

/**
 * Writes the same bytes as the template, but in one piece if they fit, because a page is such a
 * vector.
 */
inline WriteableSmartBuffer& operator<<(WriteableSmartBuffer& buffer,
                                        const std::vector<char>& bytes) {
    if (bytes.size() + sizeof(uint32_t) > buffer.bytesRemaining() || bytes.size() > INT_MAX) {
        return operator<< <char>(buffer, bytes);
    }
    buffer << static_cast<unsigned int>(bytes.size());
    buffer.write(bytes.data(), static_cast<int>(bytes.size()));
    return buffer;
}

/**
 * Replaces the contents of `values`. The vector grows as elements arrive, not by the stated count.
 * A body that ends early sets failure.
 */
template <typename T>
ReadableSmartBuffer& operator>>(ReadableSmartBuffer& buffer, std::vector<T>& values) {
    values.clear();
    unsigned int count = 0;
    buffer >> count;
    while (count != 0 && !buffer.hasFailed()) {
        T value{};
        buffer >> value;
        values.push_back(value);
        --count;
    }
    return buffer;
}

/** Measures `object` in bytes. 0, or -1 with `size` untouched if it can't be packed. */
[[nodiscard]] int GetPackedSize(const Packable& object, unsigned int& size);
