/**
 * fault_campaign: runs the built tool with controllers that have random faults, in lockstep and on
 * a simulated clock. Compares each run with a model that predicts it exactly.
 */
#include <algorithm>
#include <cstdio>
#include <optional>

#include "companions/commandline/commandline.h"
#include "cpputils/include/standarddescriptors.h"
#include "verification/campaign/faultruns.h"
#include "verification/campaign/interruptedruns.h"

namespace campaign {

namespace {

struct CampaignSettings {
    Programs programs = {PRELOADABLE_TOOL, TOLMIRA_RUN, LOCKSTEP_LIBRARY};
    WorkLimits extent = {0, 0, 2};
    uint64_t interrupted = 0;
    uint64_t seed = 1;
    std::optional<std::string> faults;
    Scenario scenario;
};

void AddOptions(const commandline::CommandOptions& program, CampaignSettings& settings) {
    program.option("--runs", settings.extent.count,
                   "Number of runs with random faults; without --seconds, 300 by default");
    program.option("--interrupted", settings.interrupted,
                   "Instead, make this many runs in which the tool is killed");
    program.option("--seconds", settings.extent.seconds, "Start no run after this time");
    program.option("--seed", settings.seed, "Seed of the random runs").showDefault();
    program.option("--jobs", settings.extent.jobs, "Number of processes")
        .showDefault()
        .inRange(1, 64);
    program.option("--tool", settings.programs.tool, "Path of the tool").showDefault();

    Scenario& scenario = settings.scenario;
    program.option("--faults", settings.faults, "Make one run, with these faults");
    program.option("--payload", scenario.payload, "Bytes of its image, with the checksum");
    const auto takeImage = [&scenario](const std::string& name) {
        const auto found = std::find(IMAGE_NAMES.begin(), IMAGE_NAMES.end(), name);
        scenario.image = static_cast<ImageKind>(found - IMAGE_NAMES.begin());
    };
    program.option("--image", takeImage, "Its image").typeName("NAME").oneOf(IMAGE_NAMES);
    program.option("--revision", scenario.revision, "Revision that its controller announces");
    program.option("--start-us", scenario.start,
                   "Time of its start, in microseconds since the epoch");
    program.option("--silence-ms", scenario.silenceMs, "Step of its clock while nothing happens");
    program.flag("--force", scenario.force, "Run the tool with -f");
    program.flag("--every-access", scenario.everyAccess, "Compare each access to the mailbox");
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
    return ExitValue(RunOne(settings.programs, settings.scenario));
}

}  // namespace

}  // namespace campaign

// If memory runs out, std::terminate may end the program.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    commandline::Program program(
        "Run the tool with controllers that have random faults, and compare it with a model.\n"
        "Exit value: 0 no difference, 1 differences, 2 wrong usage.",
        "fault_campaign");
    campaign::CampaignSettings settings;
    campaign::AddOptions(program, settings);
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    return campaign::Run(settings);
}
