#pragma once

#include <string>

namespace testsupport {

/** A new directory. The destructor removes it with its contents. Failures throw. */
class TestDirectory {
  public:
    TestDirectory();
    ~TestDirectory();
    TestDirectory(const TestDirectory&) = delete;
    TestDirectory& operator=(const TestDirectory&) = delete;

    const std::string& path() const { return i_path; }
    std::string path(const std::string& name) const { return i_path + '/' + name; }

    /** Creates the directories in `name`. Returns the file's path. */
    std::string write(const std::string& name, const std::string& contents) const;
    std::string read(const std::string& name) const;

  private:
    std::string i_path;
};

}  // namespace testsupport
