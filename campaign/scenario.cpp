#include "campaign/scenario.h"

#include <iterator>

#include "campaign/dice.h"
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
    return run == 0 ? campaignSeed : Dice(campaignSeed ^ (run << 20)).roll();
}

Scenario RandomScenario(uint64_t seed) {
    constexpr size_t payloads[] = {0,   1,   2,   3,   100, 255, 256, 257,
                                   258, 259, 400, 511, 512, 513, 514, 800};
    constexpr uint16_t revisions[] = {0, 1, 19400, TOOL_REVISION - 1, TOOL_REVISION + 1, 0xFFFF};
    constexpr int64_t silences[] = {50, 100, 250, 700, 1000};
    constexpr int64_t MicrosecondsPerSecond = 1000000;
    Dice dice(seed);
    Scenario scenario;
    scenario.payload = dice.oneOf(payloads);
    scenario.revision = dice.oneIn(8) ? TOOL_REVISION : dice.oneOf(revisions);
    scenario.force = dice.oneIn(4);
    if (dice.oneIn(40)) {
        scenario.image = dice.oneIn(2) ? ImageKind::e_Missing : ImageKind::e_NoHeader;
    }
    // Any day of half a century, any part of a second, and often its very edges.
    scenario.start = static_cast<int64_t>(dice.below(1600000000)) * MicrosecondsPerSecond;
    const int64_t fractions[] = {
        0, 1, 999, 999000, 999999, static_cast<int64_t>(dice.below(MicrosecondsPerSecond))};
    scenario.start += dice.oneIn(2) ? fractions[std::size(fractions) - 1] : dice.oneOf(fractions);
    scenario.silenceMs = dice.oneOf(silences);
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
