#include "tests/support/testdirectory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace testsupport {

namespace fs = std::filesystem;

TestDirectory::TestDirectory() : i_path(fs::temp_directory_path() / "tolmira_test_XXXXXX") {
    if (mkdtemp(i_path.data()) == nullptr) {
        throw std::runtime_error("cannot create " + i_path);
    }
}

TestDirectory::~TestDirectory() {
    std::error_code ignored;
    fs::remove_all(i_path, ignored);
}

std::string TestDirectory::write(const std::string& name, const std::string& contents) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    std::ofstream file(path(name), std::ios::binary | std::ios::trunc);
    if (!(file << contents).flush()) {
        throw std::runtime_error("cannot write " + path(name));
    }
    return path(name);
}

std::string TestDirectory::read(const std::string& name) const {
    std::ostringstream contents;
    contents << std::ifstream(path(name)).rdbuf();
    return contents.str();
}

}  // namespace testsupport
