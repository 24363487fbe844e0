#pragma once

#include <string>

#include "tests/support/testdirectory.h"

namespace testsupport {

/**
 * A folder for one run, as the tool finds it on the frame: a working directory, and beside it the
 * storage with software.options. Everything is removed at the end.
 *
 * It starts with options that set nothing and an empty configuration file.
 */
class RunDirectory {
  public:
    RunDirectory() {
        writeOptions("");
        write("configuration", "");
    }

    /** The working directory of the run. */
    std::string path() const { return i_frame.path("run"); }
    std::string path(const std::string& fileName) const { return path() + "/" + fileName; }
    std::string optionsFile() const { return i_frame.path(OPTIONS); }

    /** Writes a file of the working directory. */
    void write(const std::string& fileName, const std::string& contents) const {
        i_frame.write("run/" + fileName, contents);
    }
    void writeOptions(const std::string& contents) const { i_frame.write(OPTIONS, contents); }

  private:
    static constexpr char OPTIONS[] = "NANDdata/simapp/data/software.options";

    TestDirectory i_frame;
};

}  // namespace testsupport
