#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "link/mailbox.h"
#include "tests/support/region.h"
#include "tests/upgradefixture.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;
using testsupport::Payload;
using testsupport::Process;
using testsupport::ProcessResult;
using testsupport::ReadFile;
using testsupport::Region;

using Arguments = std::vector<std::string>;

/** The programs for the operator of a frame, in the directory of a run. */
class FrameTest : public UpgradeTest {
  protected:
    ProcessResult runProgram(const char* program, const Arguments& arguments) const {
        return testsupport::RunProcess(program, arguments, i_directory.path());
    }
    std::string path(const char* file) const { return i_directory.path(file); }
    std::string read(const char* file) const { return ReadFile(path(file)); }
    std::string sha256Of(const char* file) const {
        return runProgram("/usr/bin/sha256sum", {file}).out.substr(0, 64);
    }
};

/** An object has these members, and may have others. */
inline void ExpectMembers(const json& object, const json& members) {
    json updated = object;
    updated.update(members, true);
    EXPECT_EQ(object, updated);
}

inline long LinesIn(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}
