#include "platform/configuration.h"

#include <fstream>
#include <iostream>
#include <utility>

#include "cpputils/include/returncodes.h"
#include "cpputils/include/stringutils.h"
#include "logger/logger.h"

namespace {

void PrintKeys(std::ostream& out, const std::map<std::string, std::string>& keys) {
    for (const auto& [key, value] : keys) {
        out << "  " << key << '=' << value << '\n';
    }
    out << '\n';
}

/** Takes the name between the brackets. A header that isn't closed leaves `section` alone. */
void TakeHeader(const std::string& line, size_t open, std::string& section) {
    const size_t close = line.find(']', open);
    if (close != std::string::npos) {
        section = line.substr(open + 1, close - open - 1);
    }
}

}  // namespace

Configuration::Configuration(const std::string& fileName) {
    if (load(fileName, true) != 0) {
        LOG_MESSAGE(WARNING, "Could not load configuration file '%s' on Configuration creation",
                    fileName.c_str());
    }
}

int Configuration::load(const std::string& fileName, bool clearFirst) {
    LOG_MESSAGE(TRACE, "Loading configuration file '%s'", fileName.c_str());
    std::ifstream file(fileName);
    if (!file) {
        return e_Error_CannotOpenFile;
    }
    // Loaded into a separate record, so that a file that can't be read to its end changes nothing.
    Configuration loaded;
    std::string section = defaultSection;
    std::string line;
    // A last line without a newline reaches the end of the file and so isn't good.
    while (std::getline(file, line).good()) {
        loaded.takeLine(std::move(line), section);
    }
    if (file.bad()) {
        return e_Error_CannotOpenFile;
    }
    if (clearFirst) {
        clear();
    }
    merge(loaded);
    return 0;
}

void Configuration::takeLine(std::string line, std::string& section) {
    TrimString(line);
    if (line.empty() || line[0] == '#') {
        return;
    }
    const size_t open = line.find('[');
    const size_t equals = line.find('=');
    if (open < equals) {
        TakeHeader(line, open, section);
    } else if (equals != std::string::npos) {
        std::string key = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        setValue(section, TrimString(key), TrimString(value));
    }
}

int Configuration::save(const std::string& fileName) const {
    std::ofstream file(fileName);
    if (!file) {
        return e_Error_CannotOpenFile;
    }
    print(file);
    file.close();
    return file ? 0 : e_Error_WriteFailed;
}

void Configuration::print(std::ostream& out) const {
    const auto defaults = i_sections.find(defaultSection);
    if (defaults != i_sections.end()) {
        PrintKeys(out, defaults->second);
    }
    for (auto section = i_sections.begin(); section != i_sections.end(); ++section) {
        if (section != defaults) {
            out << '[' << section->first << "]\n";
            PrintKeys(out, section->second);
        }
    }
}

void Configuration::print() const {
    print(std::cout);
}

const std::string* Configuration::find(const std::string& section, const std::string& key) const {
    const auto keys = i_sections.find(section);
    if (keys == i_sections.end()) {
        return nullptr;
    }
    const auto found = keys->second.find(key);
    return found != keys->second.end() ? &found->second : nullptr;
}

bool Configuration::hasSection(const std::string& section) const {
    return i_sections.count(section) != 0;
}

bool Configuration::hasKey(const std::string& section, const std::string& key) const {
    return find(section, key) != nullptr;
}

int Configuration::getValue(const std::string& section, const std::string& key,
                            std::istringstream& stream) const {
    const std::string* const value = find(section, key);
    if (value == nullptr) {
        return e_Error_NotFound;
    }
    stream.clear();
    stream.str(*value);
    return 0;
}

std::string Configuration::getValue(const std::string& section, const std::string& key,
                                    const std::string& defaultValue) const {
    const std::string* const value = find(section, key);
    return value != nullptr ? *value : defaultValue;
}

void Configuration::setValue(const std::string& section, const std::string& key,
                             const std::string& value) {
    i_sections[section][key] = value;
}

void Configuration::removeValue(const std::string& section, const std::string& key) {
    const auto keys = i_sections.find(section);
    if (keys == i_sections.end()) {
        return;
    }
    keys->second.erase(key);
    if (keys->second.empty()) {
        i_sections.erase(keys);
    }
}

Configuration& Configuration::merge(const Configuration& other) {
    // A copy, so that a record can be merged into itself.
    const Configuration source = other;
    for (const auto& [section, keys] : source.i_sections) {
        for (const auto& [key, value] : keys) {
            setValue(section, key, value);
        }
    }
    return *this;
}
