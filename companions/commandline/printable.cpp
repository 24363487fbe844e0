#include "companions/commandline/printable.h"

#include <cstdio>

namespace commandline {

std::string Printable(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\\') {
            text += "\\\\";
        } else if (byte >= ' ' && byte <= '~') {
            text += byte;
        } else {
            char escape[8];
            snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(byte));
            text += escape;
        }
    }
    return text;
}

std::string ChecksumText(uint16_t checksum) {
    char text[8];
    snprintf(text, sizeof text, "%04X", checksum);
    return text;
}

}  // namespace commandline
