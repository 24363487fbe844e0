#pragma once

#include <string>

#include "tests/support/testdirectory.h"

namespace testsupport {

/**
 * A folder for runs, laid out as on a frame: a working directory, and beside it the storage with
 * software.options. The options and the file "configuration" are empty at first. The destructor
 * removes everything.
 */
class RunDirectory {
  public:
    RunDirectory() {
        writeOptions("");
        write("configuration", "");
    }

    /** The working directory. */
    std::string path() const { return i_frame.path("run"); }
    std::string path(const std::string& fileName) const { return path() + "/" + fileName; }
    std::string optionsFile() const { return i_frame.path(OPTIONS); }

    /** Writes a file in the working directory. */
    void write(const std::string& fileName, const std::string& contents) const {
        i_frame.write("run/" + fileName, contents);
    }
    void writeOptions(const std::string& contents) const { i_frame.write(OPTIONS, contents); }

  private:
    static constexpr char OPTIONS[] = "NANDdata/simapp/data/software.options";

    TestDirectory i_frame;
};

}  // namespace testsupport
