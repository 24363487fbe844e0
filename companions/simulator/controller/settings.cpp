#include "companions/simulator/controller/settings.h"

#include "companions/commandline/commandline.h"
#include "companions/toolcontract/toolcontract.h"

namespace controller {

namespace {

/** What is read as text or numbers first. */
struct Raw {
    std::string checksum;
    std::string faults;
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

void AddFaultOptions(const commandline::CommandOptions& program, ControllerSettings& settings,
                     Raw& raw) {
    const commandline::Option faults =
        program
            .option("--faults", raw.faults,
                    "What to do wrong, and where: faults like late=3500@2.1.0 with "
                    "blanks between them")
            .typeName("SCHEDULE")
            .obeys(
                [&settings](const std::string& text) { return ReadFaults(text, settings.faults); });
    const commandline::Option seed =
        program
            .option("--seed", raw.seed, "Do random things wrong, the same ones for the same number")
            .excludes(faults);
    const commandline::Option pages =
        program.option("--pages", raw.pages, "Pages of the image, so that --seed can hit them")
            .needs(seed);
    seed.needs(pages);
}

void AddOptions(commandline::Program& program, ControllerSettings& settings, Raw& raw) {
    settings.behaviour.newRevision = toolcontract::TOOL_REVISION;
    program.version(TOLMIRA_VERSION);
    program.option("--object", settings.object, "Shared-memory object that holds the mailbox")
        .typeName("NAME")
        .showDefault();
    program.option("--revision", settings.behaviour.revision, "Revision reported at first")
        .showDefault();
    program
        .option("--new-revision", settings.behaviour.newRevision,
                "Revision reported after a completed upgrade")
        .showDefault();
    program.flag("--force", settings.force,
                 "Serve even while another controller does, or a host is at work");
    program.flag("--rearm,!--no-rearm", settings.behaviour.rearm,
                 "Bring the mailbox up again after the host has reset it (the default), or not");
    program.option("--appear-after-ms", settings.appearAfterMs, "Announce this late; milliseconds");
    program
        .option("--flash", settings.flashFile,
                "File for the flash, written after each upgrade and at the end")
        .typeName("FILE");
    program
        .option("--expect-checksum", raw.checksum,
                "Image checksum that the host should tell; hexadecimal, four digits")
        .obeys(
            [](const std::string& text) {
                const bool good =
                    text.size() == 4 &&
                    text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
                return good ? std::string() : "give four hexadecimal digits, not " + text;
            },
            "")
        .typeName("HEX");
    AddFaultOptions(program, settings, raw);
    program.flag("--once", settings.once, "End when a host has come and gone");
    program
        .option("--idle-timeout", settings.idleTimeoutS,
                "End after so many seconds without a host's doing; 0 is never")
        .typeName("SECONDS");
    program.flag("--trace", settings.trace, "Write the decoded conversation to standard output");
    program.flag("--json", settings.json,
                 "Write the closing report as one JSON object, and all else to standard error");
}

}  // namespace

std::optional<ControllerSettings> ReadCommandLine(int argc, const char* const* argv,
                                                  int& exitValue) {
    ControllerSettings settings;
    Raw raw;
    commandline::Program program(
        "The far side of the mailbox: a Tolmira controller for demos and tests.\n"
        "Exit value: 0 all well, 1 something was found, 2 wrong usage. A fault that was asked for "
        "is\n"
        "nothing found; what the host makes of it may be.",
        "tolmira_controller");
    AddOptions(program, settings, raw);
    if (const std::optional<int> ended = program.read(argc, argv)) {
        exitValue = *ended;
        return std::nullopt;
    }
    if (!raw.checksum.empty()) {
        settings.expectedChecksum = static_cast<uint16_t>(std::stoul(raw.checksum, nullptr, 16));
    }
    if (program.given("--seed")) {
        settings.faults = RandomSchedule(raw.seed, raw.pages);
    }
    return settings;
}

}  // namespace controller
