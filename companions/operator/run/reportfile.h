#pragma once

#include <string>
#include <vector>

namespace run {

/**
 * The file of --report. It is written under another name in the same directory and renamed, so it
 * is always the old report or the whole new one. Symbolic links are followed and stay links.
 */
class ReportFile {
  public:
    /**
     * Writes and removes a trial file in the same directory, so that an unwritable path fails
     * before the upgrade and not after it. Also fails if the path is not a regular file, or is one
     * of `inputs`, the run's other files. False with the reason in `error()`.
     */
    [[nodiscard]] bool prepare(const std::string& file, const std::vector<std::string>& inputs);
    /** False with the reason in `error()`; the old report is then unchanged. */
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
