#pragma once

#include <string>
#include <vector>

namespace run {

/**
 * The file of --report. It is written beside its place and renamed, so that it is whole, or the old
 * one stays; links are followed first, so that they stay links.
 */
class ReportFile {
  public:
    /**
     * Tries whether a report can be written, with a file beside it that is removed again, so that a
     * place that can't be written fails before the upgrade. False, and `error()` tells why, also
     * for what isn't a regular file, and for one of `inputs`, the run's other files.
     */
    [[nodiscard]] bool prepare(const std::string& file, const std::vector<std::string>& inputs);
    /** False if it can't be written; `error()` tells why, and the old report is as it was. */
    [[nodiscard]] bool write(const std::string& report);

    /** Absolute, links followed. */
    const std::string& path() const { return i_path; }
    const std::string& error() const { return i_error; }

  private:
    [[nodiscard]] bool fail(const std::string& why);
    int createBeside(std::string& name);
    bool writeBeside(const std::string& bytes, std::string& name);

    std::string i_path;
    std::string i_error;
};

}  // namespace run
