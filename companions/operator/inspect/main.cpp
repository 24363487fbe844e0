/**
 * tfi_inspect: shows what a firmware image contains, and what the tool would do with it.
 */
#include <algorithm>
#include <cstdio>
#include <iostream>

#include "companions/commandline/commandline.h"
#include "companions/operator/inspect/answer.h"
#include "companions/operator/inspect/inspection.h"
#include "cpputils/include/standarddescriptors.h"

namespace inspect {

namespace {

constexpr int EXIT_FINDING = 1;

int Run(int argc, const char* const* argv) {
    std::vector<std::string> files;
    bool json = false;
    commandline::Program program(
        "Shows what firmware images contain and what tolmira_upgrade would do with them.\n"
        "Exit value: 0 all would be sent, 1 at least one would not, 2 wrong usage.",
        "tfi_inspect");
    program.version(TOLMIRA_VERSION);
    program.flag("--json", json, "Print one JSON object");
    program.option("image", files, "Images in TFI format").required();
    if (const std::optional<int> exitValue = program.read(argc, argv)) {
        return *exitValue;
    }
    std::vector<Inspection> inspections;
    std::transform(files.begin(), files.end(), std::back_inserter(inspections), Inspect);
    (json ? PrintAsJson : PrintAsText)(std::cout, inspections);
    const bool all = std::all_of(inspections.begin(), inspections.end(), [](const Inspection& one) {
        return one.verdict == e_Verdict_Sendable;
    });
    return all ? EXIT_SUCCESS : EXIT_FINDING;
}

}  // namespace

}  // namespace inspect

// On std::bad_alloc the program may terminate.
int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape)
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    return inspect::Run(argc, argv);
}
