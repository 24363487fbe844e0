#pragma once

#include <optional>
#include <string>
#include <vector>

#include "companions/operator/run/operands.h"

namespace run {

/** Forms of --progress. */
constexpr char PROGRESS_LINE[] = "line";
constexpr char PROGRESS_JSON[] = "json";
constexpr char PROGRESS_NONE[] = "none";

/** The command line. */
struct RunSettings {
    /** Path of the tool. */
    std::string tool;
    /** The tool's arguments, as given and as read. */
    std::vector<std::string> toolArguments;
    Operands operands;

    /** Empty: no report. REPORT_ON_OUTPUT: on standard output. */
    std::string reportFile;
    bool quiet = false;
    bool journal = false;
    std::string progress = PROGRESS_LINE;
    /** For PROGRESS_JSON. */
    int progressDescriptor = -1;

    bool interruptible = false;
    bool exitByCause = false;
    bool currentOk = false;

    /** Seconds to wait for the controller before the tool starts. */
    std::optional<uint16_t> wait;
    bool verify = false;
    uint16_t verifySeconds = 30;
    /** In lower case. */
    std::optional<std::string> digest;
    std::optional<std::string> digestFile;
    bool check = false;

    bool reportOnOutput() const { return reportFile == REPORT_ON_OUTPUT; }
    bool digestAsked() const { return digest || digestFile; }

    static constexpr char REPORT_ON_OUTPUT[] = "-";
};

/** Path of the tool in this program's directory, where it is both built and installed. */
std::string ToolBesideThisProgram();

/**
 * Reads the command line: this program's options, followed by the tool's arguments.
 *
 * Without a value the program must end with `exitValue`: help or version were printed, or wrong
 * usage was reported on standard error. After wrong usage `reportFile` is the file of --report, if
 * it can be found.
 */
std::optional<RunSettings> ReadCommandLine(int argc, const char* const* argv, int& exitValue,
                                           std::string& reportFile);

}  // namespace run
