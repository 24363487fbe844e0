#pragma once

#include <cstdint>

/**
 * What programs around tolmira_upgrade rely on, without linking any of it: the revision that it
 * brings a controller to, and its exit values as a parent process sees them.
 */
namespace toolcontract {

constexpr std::uint16_t TOOL_REVISION = 19525;

constexpr int EXIT_UPGRADED = 0;
constexpr int EXIT_MISSING = 1;
constexpr int EXIT_NOT_UPGRADED = 255;

}  // namespace toolcontract
