#include "logger/symbolmap.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

namespace {

constexpr char SUFFIX[] = "_symbols.txt";
constexpr std::size_t LONGEST_PATH = 1023;
constexpr std::size_t READ_AHEAD = 64UL * 1024;
constexpr std::size_t SHORT_LINE = 32;

std::string OwnExecutable() {
    std::array<char, LONGEST_PATH + 1> path = {};
    const ssize_t length = readlink("/proc/self/exe", path.data(), LONGEST_PATH);
    return length < 1 ? "" : std::string(path.data(), static_cast<std::size_t>(length));
}

/**
 * The number at the start of a line, as strtoul reads it. One that is too large becomes the largest
 * address, so that it is not mistaken for an address in the code.
 */
uint32_t AddressOf(std::string_view line) {
    constexpr unsigned long largest = std::numeric_limits<uint32_t>::max();
    uint32_t address = 0;
    const auto digits = std::from_chars(line.data(), line.data() + line.size(), address, 16);
    if (digits.ec == std::errc() && address != 0) {
        return address;
    }
    // Zero, leading blanks or 0x, a number that is too large, or no number.
    const std::string text(line);
    return static_cast<uint32_t>(std::min(strtoul(text.c_str(), nullptr, 16), largest));
}

std::size_t SizeOf(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 ? static_cast<std::size_t>(status.st_size) : 0;
}

/** Calls `use` with each line that ends in a newline, without it. */
template <typename Use>
void ReadLines(int file, Use use) {
    std::vector<char> block(READ_AHEAD);
    std::string begun;
    ssize_t count = 0;
    while ((count = read(file, block.data(), block.size())) > 0) {
        std::string_view rest(block.data(), static_cast<std::size_t>(count));
        for (std::size_t end = rest.find('\n'); end != std::string_view::npos;
             end = rest.find('\n')) {
            if (begun.empty()) {
                use(rest.substr(0, end));
            } else {
                use(begun.append(rest.substr(0, end)));
                begun.clear();
            }
            rest.remove_prefix(end + 1);
        }
        begun.append(rest);
    }
}

// Only for its effect: the table is built before main, so a later crash report can use it.
const SymbolMap* const BUILT_BEFORE_MAIN = &SymbolMap::instance();

}  // namespace

std::string SymbolFileOf(const std::string& executable) {
    const bool fits =
        !executable.empty() && executable.size() <= LONGEST_PATH - (sizeof SUFFIX - 1);
    return fits ? executable + SUFFIX : "";
}

SymbolMap& SymbolMap::instance() {
    static SymbolMap map(SymbolFileOf(OwnExecutable()));
    return map;
}

SymbolMap::SymbolMap(const std::string& path) : i_path(path) {
    if (path.empty()) {
        return;
    }
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
        return;
    }
    // Reserved at once, because growing would copy the table repeatedly. Unused memory costs
    // nothing.
    i_lines.reserve(SizeOf(file) / SHORT_LINE);
    std::size_t position = 0;
    ReadLines(file, [&](std::string_view line) {
        i_lines.push_back({AddressOf(line), position});
        position += line.size() + 1;
    });
    close(file);
    // The build sorts the file, so normally this is only a check.
    if (!std::is_sorted(i_lines.begin(), i_lines.end(), isBelow)) {
        std::stable_sort(i_lines.begin(), i_lines.end(), isBelow);
    }
}

bool SymbolMap::lookup(uint32_t address, char* buffer, int size) const {
    const auto next = std::upper_bound(i_lines.begin(), i_lines.end(), Line{address, 0}, isBelow);
    if (next == i_lines.begin() || next == i_lines.end()) {
        return false;
    }
    const int file = open(i_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
        return false;
    }
    if (size > 0) {
        const auto position = static_cast<off_t>(std::prev(next)->position);
        const ssize_t count = pread(file, buffer, static_cast<std::size_t>(size) - 1, position);
        buffer[count > 0 ? count : 0] = '\0';
        buffer[strcspn(buffer, "\n")] = '\0';
    }
    close(file);
    return true;
}

bool GetSymbolText(uint32_t address, char* buffer, int size) {
    return SymbolMap::instance().lookup(address, buffer, size);
}
