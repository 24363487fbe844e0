#include "companions/operator/run/settings.h"

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

}  // namespace

std::optional<Settings> ReadCommandLine(int argc, const char* const* argv, int& exitValue) {
    Settings settings;
    settings.tool = ToolBesideThisProgram();
    commandline::Program program(
        "Runs tolmira_upgrade, one run at a time, and tells how far it is and how it came out.\n"
        "Exit value: the tool's, or 128 and the number of the signal that ended it; 2 wrong usage\n"
        "of this program, 73 no report or no lock can be made, 75 another run is under way, 127\n"
        "the tool can't be started.",
        "tolmira_run");
    program.version(TOLMIRA_VERSION);
    program.option("--tool", settings.tool, "The tool, if not the one beside this program");
    program.option("--report", settings.reportFile, "Write a JSON record of the run to this file");
    program.wordsOfAnother(
        settings.toolArguments,
        "What follows the options are the tool's own words: [-f] image configuration");
    if (const std::optional<int> ended = program.read(argc, argv)) {
        exitValue = *ended;
        return std::nullopt;
    }
    return settings;
}

}  // namespace run
