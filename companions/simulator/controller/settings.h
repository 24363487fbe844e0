#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "companions/simulator/controller/schedule.h"
#include "companions/simulator/controller/session.h"

namespace controller {

/** The command line. */
struct ControllerSettings {
    std::string object = "/resource0";
    Behaviour behaviour;
    /** Empty: the flash stays in memory. */
    std::string flashFile;
    std::optional<uint16_t> expectedChecksum;
    Schedule faults;
    unsigned appearAfterMs = 0;
    /** 0: wait for ever. */
    unsigned idleTimeoutS = 0;
    bool once = false;
    /** Serve even an object that is in use. */
    bool force = false;
    bool trace = false;
    bool json = false;
};

/**
 * Reads the command line. Without a value the program must end with `exitValue`: 0 after help or
 * version, 2 after wrong usage, which was reported on standard error.
 */
[[nodiscard]] std::optional<ControllerSettings> ReadCommandLine(int argc, const char* const* argv,
                                                                int& exitValue);

}  // namespace controller
