#pragma once

#include <string>

namespace testsupport {

/**
 * A folder for one run, as the tool finds it on the frame: a working directory, and beside it the
 * storage with software.options. Everything is removed at the end.
 *
 * It starts with options that set nothing and an empty configuration file.
 */
class RunDirectory {
  public:
    RunDirectory();
    ~RunDirectory();
    RunDirectory(const RunDirectory&) = delete;
    RunDirectory& operator=(const RunDirectory&) = delete;

    /** The working directory of the run. */
    std::string path() const { return i_base + "/run"; }
    std::string path(const std::string& fileName) const { return path() + "/" + fileName; }
    std::string optionsFile() const { return i_base + "/NANDdata/simapp/data/software.options"; }

    /** Writes a file of the working directory. */
    void write(const std::string& fileName, const std::string& contents) const;
    void writeOptions(const std::string& contents) const;

  private:
    std::string i_base;
};

}  // namespace testsupport
