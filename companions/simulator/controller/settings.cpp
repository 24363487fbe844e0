#include "companions/simulator/controller/settings.h"

#include "companions/commandline/commandline.h"
#include "companions/toolcontract/toolcontract.h"

namespace controller {

namespace {

/** Values before conversion. */
struct Raw {
    std::string checksum;
    std::string faults;
    uint64_t seed = 0;
    uint16_t pages = 0;
};

/** Parses a text into the schedule; returns the error, if any. */
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
                    "Inject these faults, separated by blanks, such as late=3500@2.1.0")
            .typeName("SCHEDULE")
            .obeys(
                [&settings](const std::string& text) { return ReadFaults(text, settings.faults); });
    const commandline::Option seed =
        program
            .option("--seed", raw.seed, "Inject random faults, the same ones for the same number")
            .excludes(faults);
    const commandline::Option pages =
        program.option("--pages", raw.pages, "Place the faults of --seed in an image of N pages")
            .needs(seed);
    seed.needs(pages);
}

void AddOptions(commandline::Program& program, ControllerSettings& settings, Raw& raw) {
    settings.behaviour.newRevision = toolcontract::TOOL_REVISION;
    program.version(TOLMIRA_VERSION);
    program.option("--object", settings.object, "Use the mailbox in this shared-memory object")
        .typeName("NAME")
        .showDefault();
    program.option("--revision", settings.behaviour.revision, "Report this revision at first")
        .showDefault();
    program
        .option("--new-revision", settings.behaviour.newRevision,
                "Report this revision after a completed upgrade")
        .showDefault();
    program.flag("--force", settings.force,
                 "Start even if another controller or a host uses the mailbox");
    program.flag("--rearm,!--no-rearm", settings.behaviour.rearm,
                 "Bring the mailbox up again after the host has reset it (the default), or not");
    program.option("--appear-after-ms", settings.appearAfterMs,
                   "Announce the controller after N milliseconds");
    program
        .option("--flash", settings.flashFile,
                "Write the flash to FILE after each upgrade and at the end")
        .typeName("FILE");
    program
        .option("--expect-checksum", raw.checksum,
                "Expect this image checksum from the host; four hexadecimal digits")
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
    program.flag("--once", settings.once, "Exit after a host has come and gone");
    program
        .option("--idle-timeout", settings.idleTimeoutS,
                "Exit after SECONDS without host activity; 0: never")
        .typeName("SECONDS");
    program.flag("--trace", settings.trace, "Log the decoded messages too");
    program.flag("--json", settings.json,
                 "Print the closing report as one JSON object, and the log on standard error");
}

}  // namespace

std::optional<ControllerSettings> ReadCommandLine(int argc, const char* const* argv,
                                                  int& exitValue) {
    ControllerSettings settings;
    Raw raw;
    commandline::Program program(
        "Simulates a Tolmira controller at the mailbox, for demos and tests.\n"
        "Exit value: 0 no findings, 1 findings or a failure, 2 wrong usage. An injected fault is\n"
        "not a finding, but its consequences may be.",
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
