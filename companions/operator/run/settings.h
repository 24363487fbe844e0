#pragma once

#include <optional>
#include <string>
#include <vector>

#include "companions/operator/run/operands.h"

namespace run {

/** How the progress is shown. */
constexpr char PROGRESS_LINE[] = "line";
constexpr char PROGRESS_JSON[] = "json";
constexpr char PROGRESS_NONE[] = "none";

/** What the command line asks for. */
struct RunSettings {
    /** Path of the tool. */
    std::string tool;
    /** As the tool gets them, and what they say. */
    std::vector<std::string> toolArguments;
    Operands operands;

    /** Empty: no report. REPORT_ON_OUTPUT: on standard output. */
    std::string reportFile;
    bool quiet = false;
    bool journal = false;
    std::string progress = PROGRESS_LINE;
    /** For JSON. */
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

/** The tool is installed, and built, beside this program. */
std::string ToolBesideThisProgram();

/**
 * Reads the command line: this program's options come first, and what follows is the tool's.
 *
 * Without a value the program is to end at once with `exitValue`: the help or the version was asked
 * for, or the usage is wrong, which has been reported on standard error. After wrong usage
 * `reportFile` is the file of --report, if there is one to be found.
 */
std::optional<RunSettings> ReadCommandLine(int argc, const char* const* argv, int& exitValue,
                                           std::string& reportFile);

}  // namespace run
