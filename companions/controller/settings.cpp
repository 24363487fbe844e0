#include "companions/controller/settings.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace controller {

namespace {

constexpr int EXIT_WRONG_USAGE = 2;
constexpr uint16_t TOOL_REVISION = 19525;

void AddOptions(CLI::App& app, Settings& settings, std::string& checksum) {
    settings.manners.newRevision = TOOL_REVISION;
    app.set_version_flag("--version", "tolmira_controller " TOLMIRA_VERSION);
    app.add_option("--object", settings.object, "Shared-memory object that holds the mailbox")
        ->capture_default_str();
    app.add_option("--revision", settings.manners.revision, "Revision reported at first")
        ->capture_default_str();
    app.add_option("--new-revision", settings.manners.newRevision,
                   "Revision reported after a completed upgrade")
        ->capture_default_str();
    app.add_flag("--rearm,!--no-rearm", settings.manners.rearm,
                 "Bring the mailbox up again after the host has reset it (the default), or not");
    app.add_option("--appear-after-ms", settings.appearAfterMs, "Announce this late; milliseconds");
    app.add_option("--flash", settings.flashFile,
                   "File for the flash, written after each upgrade and at the end");
    app.add_option("--expect-checksum", checksum,
                   "Image checksum that the host should tell; hexadecimal, four digits")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const bool good =
                    text.size() == 4 &&
                    text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
                return good ? std::string() : "give four hexadecimal digits, not " + text;
            },
            "HEX4"));
    app.add_flag("--once", settings.once, "End when a host has come and gone");
    app.add_option("--idle-timeout", settings.idleTimeoutS,
                   "End after so many seconds without a host's doing; 0 is never");
    app.add_flag("--trace", settings.trace, "Write the decoded conversation to standard output");
    app.add_flag("--json", settings.json, "Write the closing report as one JSON object");
}

}  // namespace

std::optional<Settings> ReadCommandLine(int argc, const char* const* argv, int& exitValue) {
    Settings settings;
    std::string checksum;
    CLI::App app(
        "The far side of the mailbox: a Tolmira controller for demos and tests.\n"
        "Exit value: 0 all well, 1 something was found, 2 wrong usage.",
        "tolmira_controller");
    AddOptions(app, settings, checksum);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        exitValue = app.exit(request);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        fprintf(stderr, "tolmira_controller: %s (--help lists the options)\n", error.what());
        exitValue = EXIT_WRONG_USAGE;
        return std::nullopt;
    }
    if (!checksum.empty()) {
        settings.expectedChecksum = static_cast<uint16_t>(std::stoul(checksum, nullptr, 16));
    }
    return settings;
}

}  // namespace controller
