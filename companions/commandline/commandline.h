#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace commandline {

constexpr int EXIT_WRONG_USAGE = 2;

/** Tells what is wrong, in one line on standard error; the exit value that goes with it. */
int Refuse(const CLI::App& app, const std::string& why);

/**
 * Reads the words into what the app's options are bound to. Without a value the program goes on;
 * with one it ends at once with that: the help or the version was asked for, or the usage is wrong,
 * which has been told.
 */
std::optional<int> Read(CLI::App& app, int argc, const char* const* argv);

}  // namespace commandline
