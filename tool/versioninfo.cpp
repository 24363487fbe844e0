#include "tool/versioninfo.h"

namespace {

// The record copies the strings, so they are defined before it.
const std::string BRANCH = "BR-Kestane";
const std::string TEXT2;
const std::string TEXT3 = "C";
const std::string BUILD_STAMP = "Compiled: Fri Nov  1 13:20:04 EDT 2024";

const VersionInfo VERSION_INFO(6, 5, 0, 19525, BRANCH, TEXT2, TEXT3, BUILD_STAMP);

}  // namespace

VersionInfo::VersionInfo(int major, int minor, int patch, int revision,
                         const std::string& theBranch, const std::string& theText2,
                         const std::string& theText3, const std::string& theBuildStamp)
    : i_major(major),
      i_minor(minor),
      i_patch(patch),
      i_revision(revision),
      i_branch(theBranch),
      i_text2(theText2),
      i_text3(theText3),
      i_buildStamp(theBuildStamp) {}

const VersionInfo& GetVersionInfo() {
    return VERSION_INFO;
}
