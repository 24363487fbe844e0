#pragma once

#include "link/routercomms.h"

/**
 * Waits about a minute for the controller: 60 polls, and after each that fails a log line and a
 * second's sleep. False if it never appears.
 */
[[nodiscard]] bool WaitForController(RouterCommWriter& writer);

/**
 * Logs the controller's revision and returns whether it differs from the tool's, in either
 * direction. The revision is read twice: once for the log, once for the comparison.
 */
[[nodiscard]] bool ControllerNeedsUpgrade(RouterCommReader& reader);
