#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "companions/simulator/controller/schedule.h"
#include "companions/toolcontract/toolcontract.h"

namespace campaign {

using toolcontract::TOOL_REVISION;

enum class ImageKind { Good, Missing, NoHeader };

/** Everything that a run depends on. */
struct Scenario {
    controller::Schedule faults;
    /** Bytes, the checksum included. */
    size_t payload = 0;
    ImageKind image = ImageKind::Good;
    /** What the controller announces. */
    uint16_t revision = 0;
    bool force = false;
    /** The controller's answers outlive the next host's request for the direction. */
    bool keepsAnswers = false;
    /** The time at the beginning, microseconds since the epoch. */
    int64_t start = 0;
    /** How far the clock goes on at a call in a silence; milliseconds. */
    int64_t silenceMs = 100;
    /** Each single access to the mailbox is held against the model, not only their sums. */
    bool everyAccess = false;
};

/** How far the clock goes on at a call after the far side has changed something. */
constexpr int64_t BUSY_MS = 1;

/** Pages that the image makes. */
uint16_t Pages(const Scenario& scenario);

/** The same scenario for the same seed on every machine. */
Scenario RandomScenario(uint64_t seed);

/** A seed for each run of a campaign. */
uint64_t SeedOfRun(uint64_t campaignSeed, uint64_t run);

/** The options that make the campaign run this scenario alone. */
std::string Options(const Scenario& scenario);

/** The payload, and the whole image file. */
std::string PayloadOf(const Scenario& scenario);
std::string ImageOf(const Scenario& scenario);

}  // namespace campaign
