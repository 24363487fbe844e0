#pragma once

#include <cstdint>

/**
 * What other programs rely on without linking the tool: the revision that it installs, and its exit
 * values as a parent process sees them.
 */
namespace toolcontract {

constexpr std::uint16_t TOOL_REVISION = 19525;

constexpr int EXIT_UPGRADED = 0;
constexpr int EXIT_MISSING = 1;
constexpr int EXIT_NOT_UPGRADED = 255;

}  // namespace toolcontract
