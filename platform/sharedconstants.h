#pragma once

#include <array>
#include <string_view>

/** The names of a serial line's parities and baud rates. */
inline constexpr std::array<std::string_view, 3> parityNames = {"None", "Odd", "Even"};
inline constexpr std::array<std::string_view, 7> baudRateNames = {
    "2400", "4800", "9600", "19200", "38400", "57600", "115200"};

/**
 * The steps of a value that can be stepped down and up, from the largest step down to the largest
 * up.
 */
inline constexpr std::array<float, 19> floatSteps = {-128, -50, -40, -30, -20, -15, -10, -8, -6, -4,
                                                     -2,   -1,  0,   1,   2,   4,   6,   8,  10};
