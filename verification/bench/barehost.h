#pragma once

#include <cstdint>
#include <vector>

#include "verification/bench/wire.h"

namespace bench {

/**
 * A host with nothing in it but the hand-over of bytes: no lock, no layer, no clock. What it needs
 * for a byte is the lower bound for every host; the processors' distance decides which way of polling
 * is better.
 *
 * `rest` is the number of empty turns between two looks at a flag.
 */
void SendUpgradePlainly(volatile uint32_t* mailbox, const std::vector<Frame>& frames,
                        unsigned rest);

/**
 * The same without a layer, but by the rules of the link: the state is read twice, each access
 * takes a lock, each write keeps the other bits, and each miss reads the clock. What the tool needs
 * beyond this is its own doing. Ends the process if the far side doesn't keep up.
 */
void SendUpgradeByTheRules(volatile uint32_t* mailbox, const std::vector<Frame>& frames);

}  // namespace bench
