#pragma once

#include "link/routercomms.h"

/**
 * Waits about a minute for the controller: polls up to 60 times, and after each failed poll logs a
 * line and sleeps for a second. False if the controller never appears.
 */
[[nodiscard]] bool WaitForController(RouterCommWriter& writer);

/**
 * Logs the controller's revision and returns whether it differs from the tool's, in either
 * direction. The revision is read twice: once for the log, once for the comparison.
 */
[[nodiscard]] bool ControllerNeedsUpgrade(RouterCommReader& reader);
