#pragma once

#include "companions/registers/velnor_regs/path.h"

namespace regs {

/**
 * What the hardware tables say against an access. Each throws Failure with the way out, unless it
 * is forced or there is nothing to say.
 */
void CheckRead(const MapLocation& place, bool forced);

/** A write reads the word too, before and after. */
void CheckWrite(const MapLocation& place, bool forced);

}  // namespace regs
