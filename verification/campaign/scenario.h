#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "companions/simulator/controller/schedule.h"
#include "companions/toolcontract/toolcontract.h"

namespace campaign {

using toolcontract::TOOL_REVISION;

constexpr int64_t US_PER_MS = 1000;
constexpr int64_t US_PER_SECOND = 1000000;

enum class ImageKind { Good, Missing, NoHeader };
/** In the order of ImageKind. */
inline const std::vector<std::string> IMAGE_NAMES = {"good", "missing", "headless"};

/** Everything that determines a run. */
struct Scenario {
    controller::Schedule faults;
    /** In bytes, with the checksum. */
    size_t payload = 0;
    ImageKind image = ImageKind::Good;
    /** The revision that the controller announces. */
    uint16_t revision = 0;
    bool force = false;
    /** The controller keeps its answers when the next host asks for the direction. */
    bool keepsAnswers = false;
    /** The time at the start, in microseconds since the epoch. */
    int64_t start = 0;
    /** By how many milliseconds a call advances the clock while the far side is silent. */
    int64_t silenceMs = 100;
    /** Compare the mailbox at each access, and not only at the other calls. */
    bool everyAccess = false;
};

/** By how many milliseconds a call advances the clock after the far side changed the mailbox. */
constexpr int64_t BUSY_MS = 1;

/** The number of the image's pages. */
uint16_t Pages(const Scenario& scenario);

/** Depends on the seed alone, on every machine. */
Scenario RandomScenario(uint64_t seed);

/** The seed of one run of a campaign. */
uint64_t SeedOfRun(uint64_t campaignSeed, uint64_t run);

/** The options of fault_campaign that run this scenario alone. */
std::string Options(const Scenario& scenario);

std::string PayloadOf(const Scenario& scenario);
std::string ImageOf(const Scenario& scenario);

}  // namespace campaign
