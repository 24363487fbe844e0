#include "logger/symbolmap.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "verification/fuzz/fuzzing.h"

/**
 * Input: a byte for the size of the buffer, four for an address, and the symbol file. Looks up the
 * address, and the addresses next to that of each line.
 */
namespace {

std::map<uint32_t, std::string> LinesByAddress(const std::string& file) {
    std::map<uint32_t, std::string> lines;
    size_t start = 0;
    for (size_t end = file.find('\n'); end != std::string::npos; end = file.find('\n', start)) {
        // Up to a zero byte, which also ends a line.
        const std::string line = file.substr(start, end - start).c_str();
        const unsigned long address = strtoul(line.c_str(), nullptr, 16);
        lines[static_cast<uint32_t>(std::min<unsigned long>(address, UINT32_MAX))] = line;
        start = end + 1;
    }
    return lines;
}

/** The line with the greatest address up to this one; null if there is none or it is the last. */
const std::string* Covering(const std::map<uint32_t, std::string>& lines, uint32_t address) {
    const std::string* line = nullptr;
    for (const auto& [start, text] : lines) {
        if (start > address) {
            return line;
        }
        line = &text;
    }
    return nullptr;
}

void LookUp(const SymbolMap& map, const std::map<uint32_t, std::string>& lines, uint32_t address,
            size_t room) {
    std::vector<char> buffer(room, '?');
    const std::vector<char> before = buffer;
    const std::string* const line = Covering(lines, address);
    REQUIRE(map.lookup(address, buffer.data(), static_cast<int>(room)) == (line != nullptr));
    if (line == nullptr || room == 0) {
        REQUIRE(buffer == before);
    } else {
        REQUIRE(buffer.data() == line->substr(0, room - 1));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    static fuzzing::MemoryFile file;
    fuzzing::Input input(bytes, size);
    const size_t room = input.takeByte();
    const auto address = static_cast<uint32_t>(input.takeNumber(4));
    const std::string contents = input.takeRest();
    file.write(contents);
    const SymbolMap map(file.path());
    const std::map<uint32_t, std::string> lines = LinesByAddress(contents);
    LookUp(map, lines, address, room);
    for (const auto& line : lines) {
        for (const uint32_t near : {line.first - 1, line.first, line.first + 1}) {
            LookUp(map, lines, near, room);
        }
    }
    return 0;
}
