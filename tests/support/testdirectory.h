#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace testsupport {

/** For tests: an empty directory of its own, removed with all it holds. */
class TestDirectory {
  public:
    TestDirectory() : i_path(testing::TempDir() + "tolmira_test_XXXXXX") {
        EXPECT_NE(mkdtemp(i_path.data()), nullptr);
    }
    ~TestDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(i_path, ignored);
    }
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    std::string path(const std::string& name) const { return i_path + '/' + name; }

    /** Makes the directories on the way, and returns the file's path. */
    std::string write(const std::string& name, const std::string& contents) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name)) << contents;
        return path(name);
    }

    std::string read(const std::string& name) const {
        std::ostringstream contents;
        contents << std::ifstream(path(name)).rdbuf();
        return contents.str();
    }

  private:
    std::string i_path;
};

}  // namespace testsupport
