#pragma once

#include "companions/registers/velnor_regs/path.h"

namespace regs {

/**
 * Checks an access against the hardware tables. Each throws Failure, which says how to force the
 * access, unless it is allowed or forced.
 */
void CheckRead(const MapLocation& place, bool forced);

/** A write reads the word too, before and after. */
void CheckWrite(const MapLocation& place, bool forced);

}  // namespace regs
