#include "platform/configuration.h"

#include <map>
#include <sstream>
#include <string>

#include "logger/logger.h"
#include "logger/loggerconfig.h"
#include "verification/fuzz/fuzzing.h"

/**
 * Input: a configuration file. Its contents are computed independently, and must survive saving and
 * loading.
 */
namespace {

using Sections = std::map<std::string, std::map<std::string, std::string>>;

std::string Trimmed(const std::string& text) {
    constexpr char blanks[] = " \a\b\f\n\r\t\v";
    const size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string TextOf(const std::map<std::string, std::string>& keys) {
    std::string text;
    for (const auto& [key, value] : keys) {
        text.append("  ").append(key).append("=").append(value).append("\n");
    }
    return text + '\n';
}

std::string TextOf(Sections sections) {
    std::string text;
    if (const auto defaults = sections.extract("default")) {
        text = TextOf(defaults.mapped());
    }
    for (const auto& [name, keys] : sections) {
        text.append("[").append(name).append("]\n").append(TextOf(keys));
    }
    return text;
}

/** The contents in the form in which they are saved. */
std::string ExpectedText(const std::string& file) {
    Sections sections;
    std::string section = "default";
    size_t start = 0;
    for (size_t end = file.find('\n'); end != std::string::npos; end = file.find('\n', start)) {
        const std::string line = Trimmed(file.substr(start, end - start));
        start = end + 1;
        const size_t mark = line.find_first_of("[=");
        if (mark == std::string::npos || line[0] == '#') {
            continue;
        }
        if (line[mark] == '=') {
            sections[section][Trimmed(line.substr(0, mark))] = Trimmed(line.substr(mark + 1));
        } else if (line.find(']', mark) != std::string::npos) {
            section = line.substr(mark + 1, line.find(']', mark) - mark - 1);
        }
    }
    return TextOf(sections);
}

std::string TextOf(const Configuration& configuration) {
    std::ostringstream text;
    configuration.print(text);
    return text.str();
}

void RequireSeverity(int severity) {
    REQUIRE(severity >= e_LogSeverity_DEBUG && severity <= e_LogSeverity_CRASH);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    fuzzing::SilenceLog();
    static fuzzing::MemoryFile file;
    const std::string contents(reinterpret_cast<const char*>(bytes), size);
    file.write(contents);
    Configuration loaded;
    REQUIRE(loaded.load(file.path(), true) == 0);
    REQUIRE(TextOf(loaded) == ExpectedText(contents));

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
