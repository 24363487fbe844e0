#include "tests/support/privateshm.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace testsupport {

namespace {

constexpr char SIZE[] = "size=256m";
constexpr char FILLING[] = "/dev/shm/filling";

/** Allocates all free pages. */
bool Fill() {
    const int fd = open(FILLING, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    struct statvfs space = {};
    const bool filled =
        fstatvfs(fd, &space) == 0 &&
        posix_fallocate(fd, 0, static_cast<off_t>(space.f_bavail * space.f_bsize)) == 0;
    close(fd);
    return filled;
}

bool MountOverSharedMemory() {
    return mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/dev/shm", "tmpfs", 0, SIZE) == 0;
}

void WriteTo(const char* fileName, const std::string& text) {
    std::ofstream(fileName) << text;
}

/** Makes this process root of a new user namespace. */
bool EnterUserNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    WriteTo("/proc/self/setgroups", "deny");
    WriteTo("/proc/self/uid_map", "0 " + user + " 1");
    WriteTo("/proc/self/gid_map", "0 " + group + " 1");
    return true;
}

void LockAndClean() {
    // Another user may own the file. Opened for reading, it can be locked all the same.
    const char* fileName = "/tmp/tolmira_shared_memory_tests.lock";
    int fd = open(fileName, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        fd = open(fileName, O_RDONLY | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0 || flock(fd, LOCK_EX) != 0) {
        throw std::runtime_error("no lock for the shared-memory tests");
    }
    for (const char* name : {"/resource0", "/resource1", "/resource2"}) {
        shm_unlink(name);
    }
}

}  // namespace

// The remount fails unless this process mounted it.
FullSharedMemory::FullSharedMemory()
    : i_full(mount("tmpfs", "/dev/shm", "tmpfs", MS_REMOUNT, SIZE) == 0 && Fill()) {}

FullSharedMemory::~FullSharedMemory() {
    unlink(FILLING);
}

void UsePrivateSharedMemory() {
    const bool entered = unshare(CLONE_NEWNS) == 0 || EnterUserNamespace();
    if (!entered || !MountOverSharedMemory()) {
        LockAndClean();
    }
}

}  // namespace testsupport
