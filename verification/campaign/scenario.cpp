#include "verification/campaign/scenario.h"

#include "companions/simulator/controller/random.h"
#include "tests/support/image.h"

namespace campaign {

namespace {

constexpr size_t PAGE_PAYLOAD = 256;

}  // namespace

uint16_t Pages(const Scenario& scenario) {
    return static_cast<uint16_t>((scenario.payload + PAGE_PAYLOAD - 1) / PAGE_PAYLOAD);
}

uint64_t SeedOfRun(uint64_t campaignSeed, uint64_t run) {
    // Run 0 has the seed of the campaign, so that --seed can repeat any single run.
    return run == 0 ? campaignSeed : controller::Random(campaignSeed ^ (run << 20)).next();
}

Scenario RandomScenario(uint64_t seed) {
    controller::Random random(seed);
    Scenario scenario;
    scenario.payload =
        random.oneOf({0, 1, 2, 3, 100, 255, 256, 257, 258, 259, 400, 511, 512, 513, 514, 800});
    scenario.revision = static_cast<uint16_t>(
        random.oneIn(8)
            ? TOOL_REVISION
            : random.oneOf({0, 1, 19400, TOOL_REVISION - 1, TOOL_REVISION + 1, 0xFFFF}));
    scenario.force = random.oneIn(4);
    if (random.oneIn(40)) {
        scenario.image = random.oneIn(2) ? ImageKind::Missing : ImageKind::NoHeader;
    }
    // Any second of half a century, and often the edges of the second.
    scenario.start = int64_t{random.below(1600000000)} * US_PER_SECOND;
    const uint32_t part = random.below(US_PER_SECOND);
    scenario.start += random.oneIn(2) ? part : random.oneOf({0, 1, 999, 999000, 999999, part});
    scenario.silenceMs = random.oneOf({50, 100, 250, 700, 1000});
    // Slow, so only in some runs.
    scenario.everyAccess = random.oneIn(12);
    scenario.faults = controller::RandomSchedule(random.next(), Pages(scenario));
    return scenario;
}

std::string Options(const Scenario& scenario) {
    std::string text = "--faults '" + controller::ScheduleText(scenario.faults) + "' --payload " +
                       std::to_string(scenario.payload) + " --image " +
                       IMAGE_NAMES.at(static_cast<size_t>(scenario.image)) + " --revision " +
                       std::to_string(scenario.revision) + " --start-us " +
                       std::to_string(scenario.start) + " --silence-ms " +
                       std::to_string(scenario.silenceMs);
    return text + (scenario.force ? " --force" : "") +
           (scenario.everyAccess ? " --every-access" : "");
}

std::string PayloadOf(const Scenario& scenario) {
    return testsupport::Payload(scenario.payload);
}

std::string ImageOf(const Scenario& scenario) {
    const bool headless = scenario.image == ImageKind::NoHeader;
    return (headless ? "\n\n\n\n\n\nEN\n" : testsupport::SHORTEST_HEADER) + PayloadOf(scenario);
}

}  // namespace campaign
