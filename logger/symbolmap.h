#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/**
 * Turns an address of the running program into a line of its symbol file, which the build makes.
 * The table of addresses is built once; the text stays on disk, and a lookup reads one line.
 *
 * The file's lines begin with an address in hexadecimal and end in a newline; the rest is free
 * text. A line covers the addresses from its own up to the next, so the last line covers none: it
 * is an end mark. Of two lines with the same address the later one counts. A line that doesn't
 * begin with a number has the address 0. Without a file every lookup fails silently.
 *
 * Built once and then only read, so any thread may look up.
 */
class SymbolMap {
  public:
    /** Reads the file to its end. An empty path is a map without symbols. */
    explicit SymbolMap(const std::string& path);
    SymbolMap(const SymbolMap&) = delete;
    SymbolMap& operator=(const SymbolMap&) = delete;

    /** The map of this program. Linking this class builds it before main. */
    static SymbolMap& instance();

    /**
     * Copies the line that covers the address, cut to `size` less 1 characters, and terminates it.
     * Returns false and leaves the buffer alone if there is no such line or the file can no longer
     * be opened. Uses no heap.
     */
    [[nodiscard]] bool lookup(uint32_t address, char* buffer, int size) const;

  private:
    struct Line {
        uint32_t address;
        /** Where it begins in the file. */
        std::size_t position;
    };

    static bool isBelow(const Line& left, const Line& right) {
        return left.address < right.address;
    }

    /** By address; lines with one address in the order of the file. */
    std::vector<Line> i_lines;
    const std::string i_path;
};

/** The symbol file of an executable; empty if the path is empty or too long for it. */
std::string SymbolFileOf(const std::string& executable);

/** SymbolMap::lookup in the map of this program. */
[[nodiscard]] bool GetSymbolText(uint32_t address, char* buffer, int size);
