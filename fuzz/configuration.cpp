#include "platform/configuration.h"

#include <sstream>
#include <string>

#include "fuzz/fuzzing.h"
#include "logger/logger.h"
#include "logger/loggerconfig.h"

namespace {

std::string TextOf(const Configuration& configuration) {
    std::ostringstream text;
    configuration.print(text);
    return text.str();
}

void RequireSeverity(int severity) {
    REQUIRE(severity >= e_LogSeverity_DEBUG && severity <= e_LogSeverity_CRASH);
}

}  // namespace

/** The file. What is loaded from it comes back whole from the file that it is saved to. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::SilenceLog();
    static fuzzing::MemoryFile file;
    file.write(std::string_view(reinterpret_cast<const char*>(bytes), size));
    Configuration loaded;
    REQUIRE(loaded.load(file.path(), true) == 0);

    REQUIRE(loaded.save(file.path()) == 0);
    const std::string saved = file.read();
    REQUIRE(saved == TextOf(loaded));
    Configuration again;
    REQUIRE(again.load(file.path(), true) == 0);
    REQUIRE(TextOf(again) == saved);
    REQUIRE(TextOf(again.merge(loaded)) == saved);

    LoggerConfig::instance()->load(loaded);
    RequireSeverity(LoggerConfig::instance()->minLogSeverity());
    RequireSeverity(LoggerConfig::instance()->timeCritMinLogSeverity());
    LoggerConfig::instance()->resetToDefaults();
    return 0;
}
