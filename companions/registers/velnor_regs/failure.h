#pragma once

#include <stdexcept>
#include <string>

#include "companions/commandline/commandline.h"

namespace regs {

/** Why a command ends early: one line for the user, with what to do, and the exit value. */
struct Failure : std::runtime_error {
    Failure(int value, const std::string& text) : std::runtime_error(text), exitValue(value) {}
    int exitValue;
};

constexpr int EXIT_FINDING = 1;
using commandline::EXIT_WRONG_USAGE;

}  // namespace regs
