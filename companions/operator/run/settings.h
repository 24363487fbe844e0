#pragma once

#include <optional>
#include <string>
#include <vector>

namespace run {

/**
 * Exit values of this program's own, beside 2 for wrong usage. All others are the tool's, which
 * uses 0, 1 and 255, or 128 and the number of the signal that ended it.
 */
enum e_Exit {
    /** The report or the lock can't be made. */
    e_Exit_CannotCreate = 73,
    /** Another run is under way. */
    e_Exit_Busy = 75,
    e_Exit_CannotStart = 127,
};

/** What the command line asks for. */
struct Settings {
    /** Path of the tool. */
    std::string tool;
    /** Empty: no report. */
    std::string reportFile;
    /** As the tool gets them. */
    std::vector<std::string> toolArguments;
};

/**
 * Reads the command line: this program's options come first, and what follows is the tool's.
 * Without a value the program is to end at once with `exitValue`; wrong usage has been told.
 */
std::optional<Settings> ReadCommandLine(int argc, const char* const* argv, int& exitValue);

}  // namespace run
