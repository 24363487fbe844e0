#include "verification/fuzz/fuzzing.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "logger/logger.h"
#include "logger/loggerconfig.h"

namespace fuzzing {

void StopOnFinding(const char* text, const char* file, int line) {
    fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, text);
    abort();
}

void SilenceLog() {
    LoggerConfig::instance()->setMinLogSeverity(e_LogSeverity_EMERGENCY);
}

uint64_t NumberAt(std::string_view text, size_t offset, size_t bytes) {
    uint64_t number = 0;
    for (size_t i = 0; i < bytes; ++i) {
        const char next = offset + i < text.size() ? text[offset + i] : '\0';
        number = number << 8U | static_cast<uint8_t>(next);
    }
    return number;
}

uint64_t Input::takeNumber(size_t bytes) {
    const uint64_t number = NumberAt(i_rest, 0, bytes);
    takeText(bytes);
    return number;
}

std::string Input::takeText(size_t count) {
    std::string text(i_rest.substr(0, count));
    i_rest.remove_prefix(text.size());
    return text;
}

MemoryFile::MemoryFile()
    : i_fd(memfd_create("fuzz", MFD_CLOEXEC)), i_path("/proc/self/fd/" + std::to_string(i_fd)) {
    REQUIRE(i_fd != -1);
}

MemoryFile::~MemoryFile() {
    close(i_fd);
}

void MemoryFile::write(std::string_view contents, size_t zeroes) {
    REQUIRE(ftruncate(i_fd, 0) == 0);
    REQUIRE(ftruncate(i_fd, static_cast<off_t>(contents.size() + zeroes)) == 0);
    REQUIRE(pwrite(i_fd, contents.data(), contents.size(), 0) ==
            static_cast<ssize_t>(contents.size()));
    REQUIRE(lseek(i_fd, 0, SEEK_SET) == 0);
}

std::string MemoryFile::read() const {
    std::string contents(static_cast<size_t>(std::max<off_t>(lseek(i_fd, 0, SEEK_END), 0)), '\0');
    REQUIRE(pread(i_fd, contents.data(), contents.size(), 0) ==
            static_cast<ssize_t>(contents.size()));
    return contents;
}

}  // namespace fuzzing
