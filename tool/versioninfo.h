#pragma once

#include <string>

/**
 * The build's version record. Without -f, the tool leaves a controller alone that reports this
 * revision. A controller reports 16 bits, so the revision must stay below 65536.
 */
class VersionInfo {
  public:
    VersionInfo(int major, int minor, int patch, int revision, const std::string& branch,
                const std::string& text2, const std::string& text3, const std::string& buildStamp);
    virtual ~VersionInfo() = default;

    int getMajor() const { return i_major; }
    int getMinor() const { return i_minor; }
    int getPatch() const { return i_patch; }
    int getRevision() const { return i_revision; }
    const std::string& getBranch() const { return i_branch; }
    const std::string& getText2() const { return i_text2; }
    const std::string& getText3() const { return i_text3; }
    const std::string& getBuildStamp() const { return i_buildStamp; }

  private:
    int i_major;
    int i_minor;
    int i_patch;
    int i_revision;
    std::string i_branch;
    /** Two words of the record, the first one empty; nothing reads them. */
    std::string i_text2;
    std::string i_text3;
    /** "Compiled: ", then the date as date(1) prints it. */
    std::string i_buildStamp;
};

/** The one record, built before main and never changed. */
const VersionInfo& GetVersionInfo();
