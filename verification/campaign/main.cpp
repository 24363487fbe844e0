/**
 * fault_campaign: runs of the built tool, each with a controller of random faults, in lockstep and
 * on a clock of their own; each is held against a model that predicts it to the letter.
 */
#include <cstdio>
#include <map>
#include <optional>

#include "companions/commandline/commandline.h"
#include "cpputils/include/standarddescriptors.h"
#include "verification/campaign/faultruns.h"
#include "verification/campaign/interruptedruns.h"

namespace campaign {

namespace {

struct CampaignSettings {
    Programs programs = {TOLMIRA_UPGRADE, TOLMIRA_RUN, LOCKSTEP_LIBRARY};
    WorkLimits extent = {0, 0, 2};
    uint64_t interrupted = 0;
    uint64_t seed = 1;
    std::optional<std::string> faults;
    Scenario scenario;
    /** The scenario's ImageKind, as the command line has it. */
    int image = static_cast<int>(ImageKind::Good);
};

void AddOptions(const commandline::CommandOptions& program, CampaignSettings& settings) {
    const std::map<std::string, int> images = {{"good", static_cast<int>(ImageKind::Good)},
                                               {"missing", static_cast<int>(ImageKind::Missing)},
                                               {"headless", static_cast<int>(ImageKind::NoHeader)}};
    program.option("--runs", settings.extent.count, "Runs with random faults").showDefault();
    program.option("--interrupted", settings.interrupted,
                   "In their place: so many runs in which the tool is killed");
    program.option("--seconds", settings.extent.seconds,
                   "No more runs are begun after so many seconds");
    program.option("--seed", settings.seed, "What makes them random").showDefault();
    program.option("--jobs", settings.extent.jobs, "Processes that share the runs")
        .showDefault()
        .inRange(1, 64);
    program.option("--tool", settings.programs.tool, "The tool").showDefault();

    Scenario& scenario = settings.scenario;
    program.option("--faults", settings.faults, "One run alone, with these faults");
    program.option("--payload", scenario.payload, "Its image: bytes, with the checksum");
    program.choice("--image", settings.image, images, "good, missing or headless");
    program.option("--revision", scenario.revision, "The revision that its controller announces");
    program.option("--start-us", scenario.start, "Its start; microseconds since the epoch");
    program.option("--silence-ms", scenario.silenceMs, "Its clock's steps while nothing happens");
    program.flag("--force", scenario.force, "With the option -f");
    program.flag("--every-access", scenario.everyAccess,
                 "With each access to the mailbox looked at");
}

int ExitValue(bool good) {
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Run(CampaignSettings& settings) {
    if (settings.interrupted != 0) {
        settings.extent.count = settings.interrupted;
        return ExitValue(RunInterrupted(settings.programs, settings.seed, settings.extent));
    }
    if (!settings.faults) {
        constexpr uint64_t defaultRuns = 300;
        if (settings.extent.count == 0) {
            settings.extent.count = settings.extent.seconds == 0 ? defaultRuns : UINT64_MAX;
        }
        return ExitValue(RunSeeds(settings.programs, settings.seed, settings.extent));
    }
    std::string error;
    const auto schedule = controller::ParseSchedule(*settings.faults, error);
    if (!schedule) {
        fprintf(stderr, "fault_campaign: %s\n", error.c_str());
        return commandline::EXIT_WRONG_USAGE;
    }
    settings.scenario.faults = *schedule;
    settings.scenario.image = static_cast<ImageKind>(settings.image);
    return ExitValue(RunOne(settings.programs, settings.scenario));
}

}  // namespace

}  // namespace campaign

// Out of memory, the program may end as the library ends it.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    commandline::Program program(
        "Holds the tool against a model of it, run by run, with a controller of random faults.\n"
        "Exit value: 0 no difference, 1 some, 2 wrong usage.",
        "fault_campaign");
    campaign::CampaignSettings settings;
    campaign::AddOptions(program, settings);
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    return campaign::Run(settings);
}
