#include "thread/fdbufferthread.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cpputils/include/pipeio.h"
#include "cpputils/include/returncodes.h"
#include "logger/logger.h"
#include "thread/waitreadable.h"

namespace {
constexpr unsigned char END_COMMAND = 0xFF;
}

FDBufferThread::FDBufferThread(int fd)
    : i_fd(fd),
      i_lock(PTHREAD_MUTEX_NORMAL),
      i_runner(this, "FDBuffer", false, FRAMEWORK_THREAD_CLASS) {}

FDBufferThread::~FDBufferThread() {
    if (i_runner.isCreated()) {
        const int result = stop();
        if (result != 0) {
            LOG_MESSAGE(WARNING, "Could not stop FDBufferThread (rc: %d)", result);
        }
    }
}

int FDBufferThread::start() {
    if (i_runner.isCreated()) {
        return -1;
    }
    if (i_commandPipe.create() != 0) {
        LOG_MESSAGE(WARNING, "Could not create the to pipe for FDBufferThread");
        return -1;
    }
    const int result = i_runner.start();
    if (result != 0) {
        i_commandPipe.close();
    }
    return result;
}

int FDBufferThread::stop() {
    if (!i_runner.isCreated()) {
        return -1;
    }
    if (WriteByte(i_commandPipe.writeEnd(), END_COMMAND) != 0) {
        return e_Error_WriteFailed;
    }
    (void)i_runner.join(nullptr);  // cannot fail for a thread that is started and not joined
    return 0;
}

int FDBufferThread::join(void** result) {
    return i_runner.join(result);
}

bool FDBufferThread::isCreated() const {
    return i_runner.isCreated();
}

std::string FDBufferThread::getText() {
    const AutoLockT<Lock> lock(i_lock);
    return i_text.str();
}

std::list<char> FDBufferThread::getBytes() {
    const AutoLockT<Lock> lock(i_lock);
    return i_bytes;
}

void* FDBufferThread::run() {
    while (waitAndServe()) {
    }
    return nullptr;
}

bool FDBufferThread::waitAndServe() {
    ReadableEnds readable;
    if (WaitReadable(i_fd, i_commandPipe.readEnd(), nullptr, readable) == -1) {
        LOG_MESSAGE(WARNING, "select failed (%s)", strerror(errno));
        return false;
    }
    if (readable.first && !takeByte()) {
        return false;
    }
    if (readable.second) {
        takeCommand();
    }
    return !readable.second;
}

bool FDBufferThread::takeByte() {
    unsigned char byte = 0;
    if (ReadByte(i_fd, byte) != 0) {
        return false;
    }
    const AutoLockT<Lock> lock(i_lock);
    i_text.put(static_cast<char>(byte));
    i_bytes.push_back(static_cast<char>(byte));
    return true;
}

void FDBufferThread::takeCommand() {
    unsigned char command = 0;
    errno = 0;
    if (read(i_commandPipe.readEnd(), &command, 1) != 1) {
        LOG_MESSAGE(WARNING, "Pipe to FDBufferThread closed (%s)", strerror(errno));
    } else if (command != END_COMMAND) {
        // Printed as a signed char: 0x80 shows as FFFFFF80.
        LOG_MESSAGE(WARNING, "Unknown Command %X",
                    static_cast<unsigned>(static_cast<signed char>(command)));
    }
}
