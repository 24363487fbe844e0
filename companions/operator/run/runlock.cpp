#include "companions/operator/run/runlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <system_error>

namespace run {

namespace {

using Json = nlohmann::ordered_json;

constexpr mode_t READABLE_FOR_ALL = 0644;
/** In bytes; a longer file is not a marker. */
constexpr std::size_t LONGEST_MARKER = 8192;
constexpr int MOST_TRIES = 10;

/**
 * Opens the file, and creates it if it is missing. An existing file is opened without O_CREAT,
 * because the kernel may refuse that for another user's file in a world-writable directory. A file
 * that is only readable can still be locked.
 */
int OpenOrCreate(const char* name, bool& writable) {
    constexpr int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    writable = true;
    int fd = open(name, O_RDWR | flags);
    if (fd < 0 && errno == ENOENT) {
        fd = open(name, O_RDWR | flags | O_CREAT | O_EXCL, READABLE_FOR_ALL);
        if (fd >= 0) {
            fchmod(fd, READABLE_FOR_ALL);  // regardless of the umask
        } else if (errno == EEXIST) {
            fd = open(name, O_RDWR | flags);
        }
    }
    if (fd < 0 && (errno == EACCES || errno == EROFS)) {
        writable = false;
        fd = open(name, O_RDONLY | flags);
    }
    return fd;
}

/** False if the file has been removed or replaced since it was opened. */
bool IsStillThere(int fd, const char* name) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(fd, &opened) == 0 && lstat(name, &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

bool IsRegular(int fd) {
    struct stat status = {};
    return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

template <typename Value>
Value ValueOr(const Json& object, const char* key, const Value& otherwise) {
    const auto found = object.find(key);
    try {
        return found != object.end() ? found->get<Value>() : otherwise;
    } catch (const Json::exception&) {
        return otherwise;
    }
}

}  // namespace

void RunLock::release() {
    if (i_fd >= 0) {
        close(i_fd);
        i_fd = -1;
    }
}

RunLock::e_Result RunLock::fail(int error) {
    i_error = std::generic_category().message(error);
    release();
    return e_Result_Failed;
}

RunLock::e_Result RunLock::take() {
    for (int i = 0; i < MOST_TRIES; ++i) {
        i_fd = OpenOrCreate(FILE_NAME, i_writable);
        if (i_fd < 0) {
            return fail(errno);
        }
        if (!IsRegular(i_fd)) {
            i_error = "it is not a regular file";
            release();
            return e_Result_Failed;
        }
        if (flock(i_fd, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            return error == EWOULDBLOCK ? e_Result_Busy : fail(error);
        }
        if (IsStillThere(i_fd, FILE_NAME)) {
            return e_Result_Taken;
        }
        release();
    }
    return fail(EAGAIN);
}

std::optional<Marker> RunLock::marker() const {
    std::string bytes(LONGEST_MARKER, '\0');
    const ssize_t count = pread(i_fd, bytes.data(), bytes.size(), 0);
    if (count == 0) {
        return std::nullopt;
    }
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    const Json object = Json::parse(bytes, nullptr, false);
    if (!object.is_object()) {
        return Marker{};
    }
    return Marker{ValueOr(object, "pid", 0), ValueOr(object, "start", std::string()),
                  ValueOr(object, "report", std::string())};
}

bool RunLock::mark(const Marker& marker) {
    const std::string bytes =
        Json{{"pid", marker.pid}, {"start", marker.start}, {"report", marker.report}}.dump(
            -1, ' ', false, Json::error_handler_t::replace) +
        '\n';
    if (!i_writable) {
        i_error = std::generic_category().message(EACCES);
        return false;
    }
    const ssize_t count = pwrite(i_fd, bytes.data(), bytes.size(), 0);
    if (count != static_cast<ssize_t>(bytes.size()) ||
        ftruncate(i_fd, static_cast<off_t>(bytes.size())) != 0) {
        i_error = std::generic_category().message(count < 0 ? errno : ENOSPC);
        return false;
    }
    return true;
}

void RunLock::clearMark() {
    if (ftruncate(i_fd, 0) != 0) {
        return;  // the next run then makes a needless clean pass
    }
}

}  // namespace run
