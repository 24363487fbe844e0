#include "companions/controller/settings.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "companions/commandline/commandline.h"

namespace controller {

namespace {

constexpr uint16_t TOOL_REVISION = 19525;

/** What is read as text or numbers first. */
struct Raw {
    std::string checksum;
    uint64_t seed = 0;
    uint16_t pages = 0;
};

/** Puts the faults of a text into the schedule; returns what is wrong with the text, if anything.
 */
std::string ReadFaults(const std::string& text, Schedule& faults) {
    std::string error;
    const std::optional<Schedule> schedule = ParseSchedule(text, error);
    faults = schedule.value_or(Schedule());
    return error;
}

void AddFaultOptions(CLI::App& app, Settings& settings, Raw& raw) {
    CLI::Option* faults =
        app.add_option("--faults",
                       "What to do wrong, and where: faults like late=3500@2.1.0 with "
                       "blanks between them")
            ->type_name("SCHEDULE")
            ->check(
                [&settings](const std::string& text) { return ReadFaults(text, settings.faults); });
    CLI::Option* seed = app.add_option("--seed", raw.seed,
                                       "Do random things wrong, the same ones for the same number")
                            ->excludes(faults);
    CLI::Option* pages =
        app.add_option("--pages", raw.pages, "Pages of the image, so that --seed can hit them")
            ->needs(seed);
    seed->needs(pages);
}

void AddOptions(CLI::App& app, Settings& settings, Raw& raw) {
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
    app.add_option("--expect-checksum", raw.checksum,
                   "Image checksum that the host should tell; hexadecimal, four digits")
        ->check(CLI::Validator(
            [](const std::string& text) {
                const bool good =
                    text.size() == 4 &&
                    text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
                return good ? std::string() : "give four hexadecimal digits, not " + text;
            },
            "HEX4"));
    AddFaultOptions(app, settings, raw);
    app.add_flag("--once", settings.once, "End when a host has come and gone");
    app.add_option("--idle-timeout", settings.idleTimeoutS,
                   "End after so many seconds without a host's doing; 0 is never");
    app.add_flag("--trace", settings.trace, "Write the decoded conversation to standard output");
    app.add_flag("--json", settings.json, "Write the closing report as one JSON object");
}

}  // namespace

std::optional<Settings> ReadCommandLine(int argc, const char* const* argv, int& exitValue) {
    Settings settings;
    Raw raw;
    CLI::App app(
        "The far side of the mailbox: a Tolmira controller for demos and tests.\n"
        "Exit value: 0 all well, 1 something was found, 2 wrong usage. A fault that was asked for "
        "is\n"
        "nothing found; what the host makes of it may be.",
        "tolmira_controller");
    AddOptions(app, settings, raw);
    if (const std::optional<int> ended = commandline::Read(app, argc, argv)) {
        exitValue = *ended;
        return std::nullopt;
    }
    if (!raw.checksum.empty()) {
        settings.expectedChecksum = static_cast<uint16_t>(std::stoul(raw.checksum, nullptr, 16));
    }
    if (app.count("--seed") != 0) {
        settings.faults = RandomSchedule(raw.seed, raw.pages);
    }
    return settings;
}

}  // namespace controller
