#include "cpputils/include/standarddescriptors.h"

#include <fcntl.h>
#include <unistd.h>

void OpenStandardDescriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1) {
            (void)open("/dev/null", O_RDWR);  // takes the lowest free number, which is this one
        }
    }
}
