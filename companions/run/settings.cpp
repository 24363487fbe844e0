#include "companions/run/settings.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "companions/commandline/commandline.h"

namespace run {

namespace {

/** The tool is installed, and built, beside this program. */
std::string ToolBesideThisProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path() / "tolmira_upgrade";
}

/** A long option in front of the tool's words can only be meant for this program; "" if none. */
std::string UnknownOption(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (word.empty() || word[0] != '-' || word == "--") {
            break;
        }
        if (word.compare(0, 2, "--") == 0) {
            return word;
        }
    }
    return "";
}

/** The mark between this program's options and the tool's words belongs to neither. */
void DropEndOfOptions(std::vector<std::string>& words) {
    if (!words.empty() && words.front() == "--") {
        words.erase(words.begin());
    }
}

}  // namespace

std::optional<Settings> ReadCommandLine(int argc, const char* const* argv, int& exitValue) {
    Settings settings;
    settings.tool = ToolBesideThisProgram();
    CLI::App app(
        "Runs tolmira_upgrade, one run at a time, and tells how far it is and how it came out.\n"
        "Exit value: the tool's, or 128 and the number of the signal that ended it; 2 wrong usage\n"
        "of this program, 73 no report or no lock can be made, 75 another run is under way, 127\n"
        "the tool can't be started.",
        "tolmira_run");
    app.set_version_flag("--version", "tolmira_run " TOLMIRA_VERSION);
    app.add_option("--tool", settings.tool, "The tool, if not the one beside this program");
    app.add_option("--report", settings.reportFile, "Write a JSON record of the run to this file");
    app.footer("What follows the options are the tool's own words: [-f] image configuration");
    app.prefix_command();
    if (const std::optional<int> ended = commandline::Read(app, argc, argv)) {
        exitValue = *ended;
        return std::nullopt;
    }
    settings.toolArguments = app.remaining();
    const std::string unknown = UnknownOption(settings.toolArguments);
    if (!unknown.empty()) {
        exitValue = commandline::Refuse(app, CLI::ExtrasError({unknown}).what());
        return std::nullopt;
    }
    DropEndOfOptions(settings.toolArguments);
    return settings;
}

}  // namespace run
