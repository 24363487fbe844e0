#include "thread/slavecommands.h"

#include <unistd.h>

#include <cstring>
#include <string>

#include "cpputils/include/pipeio.h"
#include "logger/logger.h"
#include "thread/interruptthread.h"
#include "thread/pipeends.h"
#include "thread/shellcommand.h"

namespace {

constexpr unsigned char ACKNOWLEDGE = 'A';

/** True if there is no error. Otherwise logs `step` and the error. */
bool Succeeds(const char* step, int error) {
    if (error != 0) {
        LOG_MESSAGE(ERROR, "%s failed %s", step, strerror(error));
    }
    return error == 0;
}

/** Skips the marks before the echo: they came too late for the command. */
int ReadEcho(int fd) {
    unsigned char byte = 0;
    int error = 0;
    do {
        error = ReadByte(fd, byte);
    } while (error == 0 && (byte == INTERRUPT_MARK || byte == TIMEOUT_MARK));
    return error;
}

bool SendResult(int fd, const SystemCaller::RC& result) {
    return Succeeds("Write localRC", WriteInt(fd, result.localRC)) &&
           Succeeds("Write commandRC", WriteInt(fd, result.commandRC)) &&
           Succeeds("Write stdout", WriteString(fd, result.stdout)) &&
           Succeeds("Write stderr", WriteString(fd, result.stderr));
}

bool ProcessCommand(int readFd, int writeFd) {
    std::string command;
    if (!Succeeds("Read command", ReadString(readFd, command))) {
        return false;
    }
    const SystemCaller::RC result = RunShellCommand(command, readFd, true);
    return Succeeds("ACK write", WriteByte(writeFd, ACKNOWLEDGE)) &&
           Succeeds("ACK read", ReadEcho(readFd)) && SendResult(writeFd, result);
}

}  // namespace

int SlaveAppProcessCommands(int readFd, int writeFd) {
    while (ProcessCommand(readFd, writeFd)) {
    }
    close(readFd);
    close(writeFd);
    return 1;
}
