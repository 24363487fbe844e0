#include "companions/simulator/controller/flash.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace controller {

const char* ResultName(PageResult result) {
    static constexpr std::array<const char*, 5> names = {"good", "bad CRC", "out of order",
                                                         "bad size", "not begun"};
    return names.at(static_cast<size_t>(result));
}

uint16_t PageCrc(const std::vector<uint8_t>& bytes) {
    constexpr unsigned polynomial = 0xA001;
    unsigned crc = 0xFFFF;
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
        }
    }
    return static_cast<uint16_t>(crc);
}

void Flash::erase() {
    i_erased = true;
    i_bytes.clear();
}

PageResult Flash::judge(const FlashPage& page) const {
    if (!i_erased) {
        return PageResult::NotBegun;
    }
    if (page.data.size() != PAGE_SIZE) {
        return PageResult::BadSize;
    }
    if (page.crc != PageCrc(page.data)) {
        return PageResult::BadCrc;
    }
    const bool next = page.number == pages();
    const bool again = page.number + size_t{1} == pages();
    return next || again ? PageResult::Good : PageResult::OutOfOrder;
}

PageResult Flash::program(const FlashPage& page) {
    const PageResult result = judge(page);
    if (result == PageResult::Good) {
        i_bytes.resize((size_t{page.number} + 1) * PAGE_SIZE);
        std::copy(page.data.begin(), page.data.end(), i_bytes.end() - PAGE_SIZE);
    }
    return result;
}

bool Flash::save(const std::string& fileName) const {
    const std::string draft = fileName + ".new";
    // An existing file of this name, such as a link or a FIFO, is not opened.
    remove(draft.c_str());
    FILE* file = fopen(draft.c_str(), "wbxe");
    if (file == nullptr) {
        return false;
    }
    const bool written =
        i_bytes.empty() || fwrite(i_bytes.data(), 1, i_bytes.size(), file) == i_bytes.size();
    const bool closed = fclose(file) == 0;
    if (written && closed && rename(draft.c_str(), fileName.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    remove(draft.c_str());
    errno = error;
    return false;
}

}  // namespace controller
