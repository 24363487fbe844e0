#pragma once

#include "link/routercomms.h"
#include "platform/velnorhwutils.h"

/**
 * A new mailbox over the FPGA region mapped at `base`, with the register map for the switcher mode
 * in the software options. Never null; the caller owns it. Touches no hardware.
 */
[[nodiscard]] RouterCommsInterface* CreateTolmiraComms(void* base);

/**
 * The same for a given mode. A mode without a design in this tool is logged and stops the process.
 */
[[nodiscard]] RouterCommsInterface* CreateTolmiraComms(void* base, e_SwitcherMode mode);
