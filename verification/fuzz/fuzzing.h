#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/**
 * Functions for fuzz targets. A target is a source file that defines LLVMFuzzerTestOneInput. It
 * passes the input to the code under test, and compares the result with an independent computation.
 * It is linked twice: with libFuzzer, and with a main function that replays stored inputs.
 */

/** Tests one input. Always returns 0, as libFuzzer requires. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

/** Aborts the process if the condition is false. */
#define REQUIRE(...)                                                  \
    do {                                                              \
        if (!(__VA_ARGS__)) {                                         \
            fuzzing::StopOnFinding(#__VA_ARGS__, __FILE__, __LINE__); \
        }                                                             \
    } while (false)

namespace fuzzing {

[[noreturn]] void StopOnFinding(const char* text, const char* file, int line);

/** Suppresses log lines below EMERGENCY. */
void SilenceLog();

/** Reads an input from its start. Past the end, numbers have zero bytes. */
class Input {
  public:
    Input(const uint8_t* bytes, size_t size) : i_rest(reinterpret_cast<const char*>(bytes), size) {}

    /** Big-endian, 1 to 8 bytes. */
    uint64_t takeNumber(size_t bytes);
    uint8_t takeByte() { return static_cast<uint8_t>(takeNumber(1)); }
    /** At most `count` bytes. */
    std::string takeText(size_t count);
    std::string takeRest() { return takeText(i_rest.size()); }

  private:
    std::string_view i_rest;
};

/** A big-endian number at the offset; bytes past the end are zero. */
uint64_t NumberAt(std::string_view text, size_t offset, size_t bytes);

/** An anonymous file. Each opening of its path starts reading at offset 0. */
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /** Replaces the contents, followed by `zeroes` zero bytes. Sets the offset to 0. */
    void write(std::string_view contents, size_t zeroes = 0);
    std::string read() const;

    int fd() const { return i_fd; }
    const std::string& path() const { return i_path; }

  private:
    int i_fd;
    std::string i_path;
};

}  // namespace fuzzing
