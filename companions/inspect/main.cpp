/**
 * tfi_inspect: tells what a firmware image holds, and what the tool would do with it, before
 * anyone stands at a frame.
 */
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <iostream>

#include "companions/inspect/answer.h"
#include "companions/inspect/inspection.h"

namespace inspect {

namespace {

constexpr int EXIT_FINDING = 1;
constexpr int EXIT_WRONG_USAGE = 2;

/** The whole program; wrong usage passes through as an error of the command line's reader. */
int Run(int argc, const char* const* argv) {
    std::vector<std::string> files;
    bool json = false;
    CLI::App app(
        "Tells what firmware images hold and what tolmira_upgrade would do with them.\n"
        "Exit value: 0 all would be sent, 1 one would not, 2 wrong usage.",
        "tfi_inspect");
    app.set_version_flag("--version", "tfi_inspect " TOLMIRA_VERSION);
    app.add_flag("--json", json, "Answer as one JSON array with an object for each image");
    app.add_option("image", files, "Images in TFI format")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);
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

int main(int argc, char** argv) {
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try {
        return inspect::Run(argc, argv);
    } catch (const CLI::Error& error) {
        fprintf(stderr, "tfi_inspect: %s (--help tells how)\n", error.what());
        return inspect::EXIT_WRONG_USAGE;
    }
}
