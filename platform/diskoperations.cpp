#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cpputils/include/returncodes.h"
#include "cpputils/include/textconversion.h"
#include "logger/logger.h"
#include "platform/diskaccess.h"
#include "thread/systemcaller.h"

namespace {

constexpr mode_t ALL_MAY_DO_ALL = 0777;  // reduced by the process's mask
constexpr std::string_view SCHEME_SUFFIX = ".xml";
constexpr char CUSTOM_SCHEME[] = "Custom";
constexpr int CUSTOM_SCHEMES = 4;

/** The time limit of a shell command, and how often it is repeated after a timeout. */
struct RetryPolicy {
    int seconds;
    int retries;
};
constexpr RetryPolicy MAKING_A_DIRECTORY = {2, 3};
constexpr RetryPolicy REMOVING_A_FILE = {10, 3};
constexpr RetryPolicy PACKING_LOGS = {30, 2};
constexpr RetryPolicy COPYING_FILES = {90, 2};

/** Quotes a path for the shell. The path must not contain a double quote. */
std::string Quoted(const std::string& path) {
    return '"' + path + '"';
}

int RunLogged(const std::string& command, const RetryPolicy& policy) {
    return SystemCaller::instance().execRetryLogged(command, policy.seconds, policy.retries);
}

/**
 * Compares the text only: true also for the mount point itself and for a longer name next to it.
 */
bool IsBelowUsbMount(const std::string& directory) {
    return directory.compare(0, usbMountDir.size(), usbMountDir) == 0;
}

/** checkUsbMounted for operations that need the stick: logs a failure. */
int RequireUsb() {
    const int result = checkUsbMounted();
    if (result != 0) {
        LOG_MESSAGE(ERROR, "USB device not mounted.");
    }
    return result;
}

int MakeDirInShell(const std::string& directory) {
    const std::string command = "mkdir -p " + Quoted(directory);
    const int result = RunLogged(command, MAKING_A_DIRECTORY);
    if (result != 0) {
        LOG_MESSAGE(ERROR, "Failed to create dir %s, rc=0x%08x", command.c_str(),
                    static_cast<unsigned>(result));
    }
    return result;
}

int MakeUsbLevel(const std::string& directory) {
    const int result = mkdir(directory.c_str(), ALL_MAY_DO_ALL);
    const int error = errno;
    if (result == 0 || error == EEXIST) {
        return 0;
    }
    LOG_MESSAGE(CRITICAL, "Could not create USB directory: %s, rc: 0x%x: %s", directory.c_str(),
                static_cast<unsigned>(result), strerror(error));
    return -1;
}

/**
 * Creates the levels below the mount point one by one. The mount point itself is never created, so
 * nothing is written when no stick is mounted.
 */
int MakeUsbDir(const std::string& directory) {
    const int mounted = RequireUsb();
    if (mounted != 0) {
        return mounted;
    }
    size_t slash = directory.find('/', usbMountDir.size());
    if (slash == std::string::npos) {
        LOG_MESSAGE(WARNING, "Could not create: %s.  Were you trying to create the USB dir?",
                    directory.c_str());
        return -1;
    }
    int result = 0;
    while (result == 0 && slash != std::string::npos) {
        slash = directory.find('/', slash + 1);
        result = MakeUsbLevel(directory.substr(0, slash));
    }
    return result;
}

std::string CopyCommand(const std::string& from, const std::string& to,
                        const std::string& filepattern) {
    const std::string selection =
        filepattern.empty() ? "" : "--include " + Quoted(filepattern) + " --exclude \"*\" ";
    return "rsync -rqx --delete --force " + selection + Quoted(from + '/') + ' ' + Quoted(to + '/');
}

/** With its own format, because a path may contain a percent sign. */
void LogError(const std::string& text) {
    LOG_MESSAGE(ERROR, "%s", text.c_str());
}

int CopyAndLog(const std::string& from, const std::string& to, const std::string& filepattern) {
    LOG_MESSAGE(DEBUG, "from = \"%s\", to = \"%s\", filepattern = \"%s\".", from.c_str(),
                to.c_str(), filepattern.c_str());
    const int result = copyFiles(from, to, filepattern);
    if (result != 0) {
        LOG_MESSAGE(ERROR, "Can't copy filepattern \"%s\" from \"%s\" to \"%s\", rc=0x%08x",
                    filepattern.c_str(), from.c_str(), to.c_str(), static_cast<unsigned>(result));
    }
    return result;
}

void RemoveArchive(const std::string& archive) {
    const std::string command = "rm -rf " + Quoted(archive);
    if (RunLogged(command, REMOVING_A_FILE) != 0) {
        LogError("Error: " + command);
    }
}

bool EndsIn(std::string_view name, std::string_view suffix) {
    return name.size() >= suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

int IsScheme(const dirent* entry) {
    return EndsIn(entry->d_name, SCHEME_SUFFIX) ? 1 : 0;
}

int IsSystemScheme(const dirent* entry) {
    return IsScheme(entry) != 0 && strstr(entry->d_name, CUSTOM_SCHEME) == nullptr ? 1 : 0;
}

/** Adds the names of the schemes in the directory. False with errno set if it can't be read. */
bool ScanSchemes(const std::string& directory, int (*isSelected)(const dirent*),
                 std::list<std::string>& schemes) {
    dirent** entries = nullptr;
    int count = 0;
    do {
        count = scandir(directory.c_str(), &entries, isSelected, alphasort);
    } while (count == -1 && errno == EINTR);
    for (int i = 0; i < count; ++i) {
        const std::string name = entries[i]->d_name;
        schemes.push_back(name.substr(0, name.size() - SCHEME_SUFFIX.size()));
        free(entries[i]);
    }
    if (count != -1) {
        free(entries);
    }
    return count != -1;
}

}  // namespace

bool pathExists(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

int checkUsbMounted() {
    return pathExists(usbMountDir) ? 0 : e_Error_NotFound;
}

int checkAndCreateDir(const std::string& directory) {
    if (pathExists(directory)) {
        return 0;
    }
    return IsBelowUsbMount(directory) ? MakeUsbDir(directory) : MakeDirInShell(directory);
}

int copyFiles(const std::string& from, const std::string& to, const std::string& filepattern) {
    const int made = checkAndCreateDir(to);
    if (made != 0) {
        return made;
    }
    const std::string command = CopyCommand(from, to, filepattern);
    const timeval timeout = {COPYING_FILES.seconds, 0};
    const SystemCaller::RC rc =
        SystemCaller::instance().execRetry(command, &timeout, COPYING_FILES.retries);
    const int result = rc.localRC != 0 ? rc.localRC : rc.commandRC;
    const bool sourceIsMissing = rc.stderr.find("No such file or directory") != std::string::npos;
    if (result == 0 || sourceIsMissing) {
        return 0;
    }
    LogError(command + " rc=" + std::to_string(result) + ' ');
    LogError(rc.stderr);
    return result;
}

int copyFilesToFlash(const std::string& from, const std::string& to,
                     const std::string& filepattern) {
    return CopyAndLog(from, to, filepattern);
}

int copyFilesToOrFromNonUSB(const std::string& from, const std::string& to,
                            const std::string& filepattern) {
    return CopyAndLog(from, to, filepattern);
}

int copyFilesToOrFromUSB(const std::string& from, const std::string& to,
                         const std::string& filepattern) {
    const int mounted = RequireUsb();
    return mounted != 0 ? mounted : CopyAndLog(from, to, filepattern);
}

int copyLogs() {
    const int made = checkAndCreateDir(usbSwitcherDir);
    if (made != 0) {
        return made;
    }
    const std::string archive = usbSwitcherDir + "/logs.tar.gz";
    const std::string pack = "touch /tmp/messages; touch /tmp/temp.out; tar -czf " +
                             Quoted(archive) + " /tmp/*.out /tmp/message*";
    RemoveArchive(archive);
    if (RunLogged(pack + " /tmp/*Events.log*", PACKING_LOGS) == 0) {
        return 0;
    }
    // tar fails if no event log exists.
    RemoveArchive(archive);
    const int result = RunLogged(pack, PACKING_LOGS);
    if (result != 0) {
        LogError(pack + " rc=" + std::to_string(result));
    }
    return result;
}

int copyLogsToUSB() {
    const int mounted = RequireUsb();
    if (mounted != 0) {
        return mounted;
    }
    const int result = copyLogs();
    if (result != 0) {
        LOG_MESSAGE(ERROR, "Can't copy logs to USB, rc=0x%08x", static_cast<unsigned>(result));
    }
    return result;
}

std::list<std::string> readSchemeDir() {
    std::list<std::string> schemes;
    const std::string defaultDir = systemSchemeDir + '/' + crossoverScheme;
    if (checkAndCreateDir(defaultDir) != 0) {
        LOG_MESSAGE(ERROR, "Failed to create default scheme path");
        return schemes;
    }
    if (!ScanSchemes(defaultDir, IsScheme, schemes)) {
        LOG_MESSAGE(CRITICAL, "Could not scan default scheme path: %s", strerror(errno));
    }
    if (!ScanSchemes(systemSchemeDir, IsSystemScheme, schemes)) {
        LOG_MESSAGE(CRITICAL, "Could not scan system scheme path: %s", strerror(errno));
    }
    for (int number = 1; number <= CUSTOM_SCHEMES; ++number) {
        schemes.push_back(CUSTOM_SCHEME + toString<int>(number));
    }
    schemes.sort();
    return schemes;
}
