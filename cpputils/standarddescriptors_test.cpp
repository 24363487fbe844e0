#include "cpputils/include/standarddescriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/child.h"

namespace {

bool IsDevNull(int fd) {
    struct stat expected = {};
    struct stat found = {};
    return stat("/dev/null", &expected) == 0 && fstat(fd, &found) == 0 &&
           found.st_rdev == expected.st_rdev && (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR;
}

TEST(OpenStandardDescriptors, FillsTheClosedOnesOnly) {
    for (int closed = 0; closed < 8; ++closed) {
        SCOPED_TRACE(closed);
        const auto result = testsupport::RunInChild([closed] {
            const int root = open("/", O_RDONLY);
            for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
                dup2(root, fd);
                if ((closed & 1 << fd) != 0) {
                    close(fd);
                }
            }
            OpenStandardDescriptors();
            int filled = 0;
            for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
                filled |= IsDevNull(fd) ? 1 << fd : 0;
            }
            _exit(filled == closed && dup(root) == root + 1 ? 0 : 1);
        });
        EXPECT_EQ(result.exitValue, 0);
    }
}

}  // namespace
