#include "tests/support/rundirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace testsupport {

namespace {

void WriteFile(const std::string& fileName, const std::string& contents) {
    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!(file << contents).flush()) {
        throw std::runtime_error("cannot write " + fileName);
    }
}

}  // namespace

RunDirectory::RunDirectory() {
    std::string pattern = std::filesystem::temp_directory_path() / "tolmira_run.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    i_base = pattern;
    std::filesystem::create_directories(path());
    std::filesystem::create_directories(i_base + "/NANDdata/simapp/data");
    writeOptions("");
    write("configuration", "");
}

RunDirectory::~RunDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(i_base, ignored);
}

void RunDirectory::write(const std::string& fileName, const std::string& contents) const {
    WriteFile(path(fileName), contents);
}

void RunDirectory::writeOptions(const std::string& contents) const {
    WriteFile(optionsFile(), contents);
}

}  // namespace testsupport
