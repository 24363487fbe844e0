#pragma once

#include <cstdint>
#include <vector>

#include "bench/wire.h"

namespace bench {

/**
 * A host with nothing in it but the hand-over of bytes: no lock, no layer, no clock. What it needs
 * for a byte is the floor for every host, and where the processors sit decides which way of polling
 * is better.
 *
 * `rest` is the number of empty turns between two looks at a flag.
 */
void SendUpgrade(volatile uint32_t* mailbox, const std::vector<Frame>& frames, unsigned rest);

}  // namespace bench
