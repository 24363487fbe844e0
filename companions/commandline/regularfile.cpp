#include "companions/commandline/regularfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace commandline {

Descriptor::~Descriptor() {
    if (i_fd >= 0) {
        close(i_fd);
    }
}

Descriptor OpenRegularFile(const std::string& path, std::string& why) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) {
        why = std::generic_category().message(errno);
        return Descriptor();
    }
    if (!S_ISREG(status.st_mode)) {
        why = "not a regular file";
        return Descriptor();
    }
    return file;
}

}  // namespace commandline
