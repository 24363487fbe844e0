#include "logger/symbolmap.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>

namespace {

constexpr char Suffix[] = "_symbols.txt";
constexpr std::size_t LongestPath = 1023;
constexpr std::size_t ReadAhead = 64UL * 1024;

std::string OwnExecutable() {
    std::array<char, LongestPath + 1> path = {};
    const ssize_t length = readlink("/proc/self/exe", path.data(), LongestPath);
    return length < 1 ? "" : std::string(path.data(), static_cast<std::size_t>(length));
}

/** A number that is too large is the largest address, not one somewhere in the code. */
uint32_t AddressOf(const std::string& line) {
    constexpr unsigned long Largest = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::min(strtoul(line.c_str(), nullptr, 16), Largest));
}

// For the effect alone: the table is ready before main, and so before anything can go wrong.
const SymbolMap* const builtBeforeMain = &SymbolMap::instance();

}  // namespace

std::string SymbolFileOf(const std::string& executable) {
    const bool fits = !executable.empty() && executable.size() <= LongestPath - (sizeof Suffix - 1);
    return fits ? executable + Suffix : "";
}

SymbolMap& SymbolMap::instance() {
    static SymbolMap map(SymbolFileOf(OwnExecutable()));
    return map;
}

SymbolMap::SymbolMap(const std::string& path) : i_path(path) {
    if (path.empty()) {
        return;
    }
    std::string readAhead(ReadAhead, '\0');
    std::ifstream file;
    file.rdbuf()->pubsetbuf(readAhead.data(), static_cast<std::streamsize>(readAhead.size()));
    file.open(path);
    std::size_t position = 0;
    std::string line;
    // A last line without a newline is not good any more.
    while (std::getline(file, line).good()) {
        const uint32_t address = AddressOf(line);
        // The build sorts the file: the end is the right place, or at least no wrong hint.
        i_positions.insert_or_assign(i_positions.end(), address, position);
        position += line.size() + 1;
    }
}

bool SymbolMap::lookup(uint32_t address, char* buffer, int size) const {
    const auto behind = i_positions.upper_bound(address);
    if (behind == i_positions.begin() || behind == i_positions.end()) {
        return false;
    }
    const int file = open(i_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
        return false;
    }
    if (size > 0) {
        const auto position = static_cast<off_t>(std::prev(behind)->second);
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
