#include "cpputils/include/pipeio.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

constexpr int FIRST_AFTER_STANDARD_DESCRIPTORS = 3;
constexpr long FALLBACK_DESCRIPTOR_LIMIT = 8192;

int WriteAll(int fd, const void* bytes, size_t count) {
    const ssize_t written = write(fd, bytes, count);
    if (written < 0) {
        return errno;
    }
    return static_cast<size_t>(written) == count ? 0 : EIO;
}

int WriteLengthAndContent(int fd, const char* content, size_t size) {
    const SigPipeGuard guard;
    // A length that doesn't fit in 32 bits is more than one write transfers, so the result is EIO.
    const auto length = static_cast<uint32_t>(size);
    const int error = WriteAll(fd, &length, sizeof length);
    return error != 0 ? error : WriteAll(fd, content, size);
}

/** The next byte as a character. */
int ReadCharacter(int fd, char& character) {
    unsigned char byte = 0;
    const int error = ReadByte(fd, byte);
    if (error == 0) {
        character = static_cast<char>(byte);
    }
    return error;
}

template <typename T>
int ReadNumber(int fd, T& value) {
    char bytes[sizeof(uint32_t)];
    static_assert(sizeof bytes == sizeof(T));
    for (char& byte : bytes) {
        const int error = ReadCharacter(fd, byte);
        if (error != 0) {
            return error;
        }
    }
    memcpy(&value, bytes, sizeof value);
    return 0;
}

/** Closes `first` to `last`, both included. */
void CloseRange(int first, int last) {
    if (first > last ||
        close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0) == 0) {
        return;
    }
    for (int fd = first; fd <= last; ++fd) {
        close(fd);
    }
}

sigset_t SigPipeSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool IsSigPipePending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

int WriteString(int fd, const std::string& text) {
    return WriteLengthAndContent(fd, text.data(), text.size());
}

int WriteBytes(int fd, const std::vector<char>& bytes) {
    return WriteLengthAndContent(fd, bytes.data(), bytes.size());
}

int WriteInt(int fd, int value) {
    const SigPipeGuard guard;
    return WriteAll(fd, &value, sizeof value);
}

int WriteByte(int fd, unsigned char byte) {
    const SigPipeGuard guard;
    return WriteAll(fd, &byte, sizeof byte);
}

int ReadByte(int fd, unsigned char& byte) {
    const ssize_t count = read(fd, &byte, 1);
    if (count < 0) {
        return errno;
    }
    return count == 1 ? 0 : EPIPE;
}

int ReadString(int fd, std::string& text) {
    uint32_t length = 0;
    int error = ReadNumber(fd, length);
    // Grows as bytes arrive, because the stated length may be wrong.
    std::string arrived;
    for (uint32_t i = 0; i < length && error == 0; ++i) {
        char byte = 0;
        error = ReadCharacter(fd, byte);
        arrived.push_back(byte);
    }
    if (error == 0) {
        text.swap(arrived);
    }
    return error;
}

int ReadBytes(int fd, std::vector<char>& bytes) {
    uint32_t length = 0;
    int error = ReadNumber(fd, length);
    if (error != 0) {
        return error;
    }
    bytes.resize(length);
    for (auto byte = bytes.begin(); byte != bytes.end() && error == 0; ++byte) {
        error = ReadCharacter(fd, *byte);
    }
    return error;
}

int ReadInt(int fd, int& value) {
    return ReadNumber(fd, value);
}

void CloseAllExcept(int keep1, int keep2) {
    const long limit = sysconf(_SC_OPEN_MAX);
    const int last = static_cast<int>(limit != -1 ? limit : FALLBACK_DESCRIPTOR_LIMIT) - 1;
    int first = FIRST_AFTER_STANDARD_DESCRIPTORS;
    for (const int keep : {std::min(keep1, keep2), std::max(keep1, keep2)}) {
        if (keep >= first && keep <= last) {
            CloseRange(first, keep - 1);
            first = keep + 1;
        }
    }
    CloseRange(first, last);
}

SigPipeGuard::SigPipeGuard() : i_wasPending(IsSigPipePending()) {
    const sigset_t sigPipe = SigPipeSet();
    pthread_sigmask(SIG_BLOCK, &sigPipe, &i_previousMask);
}

SigPipeGuard::~SigPipeGuard() {
    const int savedErrno = errno;
    if (!i_wasPending) {
        const sigset_t sigPipe = SigPipeSet();
        const timespec noWait = {0, 0};
        while (sigtimedwait(&sigPipe, nullptr, &noWait) == -1 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &i_previousMask, nullptr);
    errno = savedErrno;
}
