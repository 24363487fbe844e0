#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/**
 * What the fuzz targets share. A target is one source file that defines LLVMFuzzerTestOneInput: it
 * gives the bytes to the code under test, and compares what comes back with a computation of its
 * own. The same source is linked twice, with libFuzzer and with a main that replays stored inputs.
 */

/** One run over one input; 0, as libFuzzer wants it. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size);

/** Stops the process, as a crash does, where what must hold doesn't. */
#define REQUIRE(...)                                                  \
    do {                                                              \
        if (!(__VA_ARGS__)) {                                         \
            fuzzing::StopOnFinding(#__VA_ARGS__, __FILE__, __LINE__); \
        }                                                             \
    } while (false)

namespace fuzzing {

[[noreturn]] void StopOnFinding(const char* text, const char* file, int line);

/** Makes log lines below EMERGENCY cost nothing. */
void SilenceLog();

/** An input, taken from its front. What isn't there any more reads as zeroes. */
class Input {
  public:
    Input(const uint8_t* bytes, size_t size) : i_rest(reinterpret_cast<const char*>(bytes), size) {}

    /** High byte first, 1 to 8 bytes. */
    uint64_t takeNumber(size_t bytes);
    uint8_t takeByte() { return static_cast<uint8_t>(takeNumber(1)); }
    /** At most `count` bytes. */
    std::string takeText(size_t count);
    std::string takeRest() { return takeText(i_rest.size()); }

  private:
    std::string_view i_rest;
};

/** The same number, cut out of a text high byte first. */
uint64_t NumberAt(std::string_view text, size_t offset, size_t bytes);

/** A file without a name in any folder, which whoever opens its path reads from the start. */
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /** Replaces the contents; behind them follow `zeroes` bytes. The offset is 0 then. */
    void write(std::string_view contents, size_t zeroes = 0);
    /** All that is in there. */
    std::string read() const;

    int fd() const { return i_fd; }
    const std::string& path() const { return i_path; }

  private:
    int i_fd;
    std::string i_path;
};

}  // namespace fuzzing
