#pragma once

#include "link/routercomms.h"

/**
 * Waits for the controller, about a minute: 60 polls, a second's sleep and a line of log behind
 * each that fails. False if it never appeared.
 */
[[nodiscard]] bool WaitForController(RouterCommWriter& writer);

/**
 * Logs the controller's revision and tells whether it differs from the tool's, either way. The
 * revision is read twice: once for the log, once for the comparison.
 */
[[nodiscard]] bool ControllerNeedsUpgrade(RouterCommReader& reader);
