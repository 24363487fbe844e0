#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace controller {

constexpr size_t PAGE_SIZE = 256;

/** One page as the host sends it. The CRC is the number that its two wire bytes make, low first. */
struct FlashPage {
    uint16_t number = 0;
    uint16_t crc = 0;
    std::vector<uint8_t> data;
};

/** The verdict on a page; the value is the result byte of the answer, and only 0 is good. */
enum class PageResult : uint8_t {
    Good = 0,
    BadCrc = 1,
    OutOfOrder = 2,
    BadSize = 3,
    NotBegun = 4,
};

const char* ResultName(PageResult result);

/** CRC-16 of the MODBUS kind: reflected polynomial 0xA001, start 0xFFFF. Of no bytes, 0xFFFF. */
uint16_t PageCrc(const std::vector<uint8_t>& bytes);

/**
 * The controller's flash: the pages of the current transfer, in order and without gaps.
 *
 * A transfer begins with an erased flash. A page is kept if its size and CRC are right and it is
 * the next page or the last one again. The host repeats a page whose answer it did not get.
 */
class Flash {
  public:
    /** Starts a transfer and discards the previous contents. */
    void erase();
    /** Judges the page, and keeps it if it is good. */
    PageResult program(const FlashPage& page);

    size_t pages() const { return i_bytes.size() / PAGE_SIZE; }
    size_t size() const { return i_bytes.size(); }
    const std::vector<uint8_t>& bytes() const { return i_bytes; }

    /** Writes the whole contents to a file, or leaves the old file. False with errno set. */
    [[nodiscard]] bool save(const std::string& fileName) const;

  private:
    PageResult judge(const FlashPage& page) const;

    bool i_erased = false;
    std::vector<uint8_t> i_bytes;
};

}  // namespace controller
