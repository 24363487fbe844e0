#include "companions/operator/run/reportfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "companions/commandline/regularfile.h"

namespace run {

namespace {

namespace fs = std::filesystem;

constexpr int MOST_LINKS = 40;
constexpr mode_t USUAL_MODE = 0666;
constexpr mode_t PERMISSIONS = 07777;
/** Size of the trial file in bytes; few reports are larger. */
constexpr std::size_t TRIAL_SIZE = 16384;

std::string Message(int error) {
    return std::generic_category().message(error);
}

/** Path of the file with symbolic links followed, dangling ones too. */
std::string PlaceOf(const std::string& file) {
    std::error_code error;
    fs::path path = fs::absolute(file, error);
    for (int i = 0; i < MOST_LINKS && fs::is_symlink(path, error); ++i) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    const fs::path folder = fs::canonical(path.parent_path(), error);
    return error ? path.string() : (folder / path.filename()).string();
}

bool AreTheSame(const std::string& one, const std::string& other) {
    std::error_code error;
    return fs::equivalent(one, other, error);
}

mode_t Umask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

/** Mode of the old report, or of a new file. */
mode_t ModeFor(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & PERMISSIONS : USUAL_MODE & ~Umask();
}

}  // namespace

bool ReportFile::fail(const std::string& why) {
    i_error = why;
    return false;
}

/** Creates an empty file with a unique name in the same directory. */
int ReportFile::createBeside(std::string& name) {
    name = i_path + ".XXXXXX";
    return mkostemp(name.data(), O_CLOEXEC);
}

/** fsync() reports the disk's errors that write() did not. */
bool ReportFile::writeBeside(const std::string& bytes, std::string& name) {
    const int fd = createBeside(name);
    if (fd < 0) {
        return fail(Message(errno));
    }
    const bool written =
        fchmod(fd, ModeFor(i_path)) == 0 && commandline::WriteAll(fd, bytes) && fsync(fd) == 0;
    const int error = errno;
    close(fd);
    if (!written) {
        unlink(name.c_str());
        return fail(Message(error));
    }
    return true;
}

bool ReportFile::prepare(const std::string& file, const std::vector<std::string>& inputs) {
    i_path = PlaceOf(file);
    struct stat status = {};
    if (stat(i_path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return fail("it is not a regular file");
    }
    const bool isInput = std::any_of(inputs.begin(), inputs.end(), [&](const std::string& input) {
        return AreTheSame(i_path, input);
    });
    if (isInput) {
        return fail("it is one of the run's own files");
    }
    std::string name;
    if (!writeBeside(std::string(TRIAL_SIZE, '\n'), name)) {
        return false;
    }
    unlink(name.c_str());
    return true;
}

bool ReportFile::write(const std::string& report) {
    std::string name;
    if (!writeBeside(report, name)) {
        return false;
    }
    if (rename(name.c_str(), i_path.c_str()) != 0) {
        const int error = errno;
        unlink(name.c_str());
        return fail(Message(error));
    }
    return true;
}

}  // namespace run
