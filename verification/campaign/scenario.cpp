#include "verification/campaign/scenario.h"

#include "companions/simulator/controller/dice.h"
#include "tests/support/image.h"

namespace campaign {

namespace {

constexpr size_t PAGE_SIZE = 256;

const char* ImageName(ImageKind image) {
    switch (image) {
        case ImageKind::e_Missing:
            return "missing";
        case ImageKind::e_NoHeader:
            return "headless";
        default:
            return "good";
    }
}

}  // namespace

uint16_t Pages(const Scenario& scenario) {
    return static_cast<uint16_t>((scenario.payload + PAGE_SIZE - 1) / PAGE_SIZE);
}

uint64_t SeedOfRun(uint64_t campaignSeed, uint64_t run) {
    // Run 0 has the campaign's own seed, so that a single run can be asked for by its seed.
    return run == 0 ? campaignSeed : controller::Dice(campaignSeed ^ (run << 20)).roll();
}

Scenario RandomScenario(uint64_t seed) {
    constexpr uint32_t MicrosecondsPerSecond = 1000000;
    controller::Dice dice(seed);
    Scenario scenario;
    scenario.payload =
        dice.oneOf({0, 1, 2, 3, 100, 255, 256, 257, 258, 259, 400, 511, 512, 513, 514, 800});
    scenario.revision = static_cast<uint16_t>(
        dice.oneIn(8) ? TOOL_REVISION
                      : dice.oneOf({0, 1, 19400, TOOL_REVISION - 1, TOOL_REVISION + 1, 0xFFFF}));
    scenario.force = dice.oneIn(4);
    if (dice.oneIn(40)) {
        scenario.image = dice.oneIn(2) ? ImageKind::e_Missing : ImageKind::e_NoHeader;
    }
    // Any day of half a century, any part of a second, and often its very edges.
    scenario.start = int64_t{dice.below(1600000000)} * MicrosecondsPerSecond;
    const uint32_t part = dice.below(MicrosecondsPerSecond);
    scenario.start += dice.oneIn(2) ? part : dice.oneOf({0, 1, 999, 999000, 999999, part});
    scenario.silenceMs = dice.oneOf({50, 100, 250, 700, 1000});
    // Slow, so only some.
    scenario.everyAccess = dice.oneIn(12);
    scenario.faults = controller::RandomSchedule(dice.roll(), Pages(scenario));
    return scenario;
}

std::string Options(const Scenario& scenario) {
    std::string text = "--faults '" + controller::ScheduleText(scenario.faults) + "' --payload " +
                       std::to_string(scenario.payload) + " --image " + ImageName(scenario.image) +
                       " --revision " + std::to_string(scenario.revision) + " --start-us " +
                       std::to_string(scenario.start) + " --silence-ms " +
                       std::to_string(scenario.silenceMs);
    return text + (scenario.force ? " --force" : "") +
           (scenario.everyAccess ? " --every-access" : "");
}

std::string PayloadOf(const Scenario& scenario) {
    return testsupport::Payload(scenario.payload);
}

std::string ImageOf(const Scenario& scenario) {
    const bool headless = scenario.image == ImageKind::e_NoHeader;
    return (headless ? "\n\n\n\n\n\nEN\n" : testsupport::SHORTEST_HEADER) + PayloadOf(scenario);
}

}  // namespace campaign
