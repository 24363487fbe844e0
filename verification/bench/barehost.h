#pragma once

#include <cstdint>
#include <vector>

#include "verification/bench/wire.h"

namespace bench {

/**
 * A host that only hands over bytes, without locks, layers or a clock. Its time for a byte is the
 * lower bound for every host. The processors decide whether it is faster with or without a rest.
 *
 * `rest` is the number of empty loops between two polls of a flag.
 */
void SendUpgradePlainly(volatile uint32_t* mailbox, const std::vector<Frame>& frames,
                        unsigned rest);

/**
 * A host without layers that follows the rules of the link: it reads the state twice, each access
 * takes a lock, each write keeps the other bits, and each poll without a match reads the clock. Any
 * further time of the tool is its own overhead. Ends the process if the far side is too slow.
 */
void SendUpgradeByTheRules(volatile uint32_t* mailbox, const std::vector<Frame>& frames);

}  // namespace bench
