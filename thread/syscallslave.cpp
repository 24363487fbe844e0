#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "cpputils/include/standarddescriptors.h"
#include "thread/slavecommands.h"

namespace {

constexpr int WRONG_USAGE = 2;

/** A descriptor's decimal number, or -1. */
int DescriptorFromText(const char* text) {
    char* end = nullptr;
    errno = 0;
    const long number = strtol(text, &end, 10);
    const bool whole = end != text && *end == '\0' && errno == 0;
    return whole && number >= 0 && number <= INT_MAX ? static_cast<int>(number) : -1;
}

}  // namespace

/** The slave of SystemCaller; not meant to be run by hand. */
int main(int argc, char** argv) {
    OpenStandardDescriptors();
    setvbuf(stdout, nullptr, _IOLBF, 0);
    const int readFd = argc == 3 ? DescriptorFromText(argv[1]) : -1;
    const int writeFd = argc == 3 ? DescriptorFromText(argv[2]) : -1;
    if (readFd == -1 || writeFd == -1) {
        fprintf(stderr, "usage: %s COMMAND-DESCRIPTOR RESULT-DESCRIPTOR\n", argv[0]);
        return WRONG_USAGE;
    }
    return SlaveAppProcessCommands(readFd, writeFd);
}
