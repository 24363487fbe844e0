#include "companions/commandline/commandline.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace commandline {

int Refuse(const CLI::App& app, const std::string& why) {
    fprintf(stderr, "%s: %s (--help tells how)\n", app.get_name().c_str(), why.c_str());
    return EXIT_WRONG_USAGE;
}

std::optional<int> Read(CLI::App& app, int argc, const char* const* argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& request) {
        return app.exit(request);
    } catch (const CLI::Error& error) {
        return Refuse(app, error.what());
    }
    return std::nullopt;
}

}  // namespace commandline
