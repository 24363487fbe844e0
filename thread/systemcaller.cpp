#include "thread/systemcaller.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include "cpputils/include/pipeio.h"
#include "cpputils/include/returncodes.h"
#include "logger/logger.h"
#include "thread/childprocess.h"
#include "thread/threadregistrar.h"

namespace {

constexpr char SLAVE_PROGRAM[] = "syscallslave";
constexpr char NICE[] = "/bin/nice";
constexpr char LOWEST_PRIORITY[] = "19";
constexpr unsigned GRACE_SECONDS = 1;

/** Logs a failure of the link and stores its text as the result's description. */
int Fail(SystemCaller::RC& result, int code, const std::string& text) {
    LOG_MESSAGE(CRITICAL, "%s", text.c_str());
    result.stderr = text;
    return code;
}

std::string ReadFailure(ssize_t count, int error) {
    return "Pipe read failed " + std::to_string(count) + ' ' + strerror(error);
}

timeval Seconds(int seconds) {
    return {seconds, 0};
}

}  // namespace

SystemCaller& SystemCaller::instance() {
    static SystemCaller caller;
    return caller;
}

SystemCaller::SystemCaller() : i_lock(PTHREAD_MUTEX_RECURSIVE), i_slavePath(SLAVE_PROGRAM) {
    // Built first, so that the registrar is destroyed after this object, whose destructor locks and
    // logs.
    ThreadRegistrar::instance();
}

SystemCaller::~SystemCaller() {
    destroy();
}

void SystemCaller::initialize(const std::string& path) {
    const AutoLockT<Lock> lock(i_lock);
    LOG_MESSAGE(NOTICE, "Initializing slave process");
    i_slavePath = path.substr(0, path.rfind('/') + 1) + SLAVE_PROGRAM;
    if (i_initialized) {
        destroy();
    }
    if (i_commandPipe.create() != 0 || i_resultPipe.create() != 0) {
        LOG_MESSAGE(ERROR, "Could not create SystemCaller pipes");
        i_commandPipe.close();
        return;
    }
    const std::string readFd = std::to_string(i_commandPipe.readEnd());
    const std::string writeFd = std::to_string(i_resultPipe.writeEnd());
    i_slavePid = fork();
    if (i_slavePid == 0) {
        becomeSlave(readFd.c_str(), writeFd.c_str());
    }
    if (i_slavePid == -1) {
        LOG_MESSAGE(ERROR, "Could not fork the process");
        i_commandPipe.close();
        i_resultPipe.close();
        return;
    }
    i_commandPipe.closeRead();
    i_resultPipe.closeWrite();
    i_initialized = true;
}

/** In the child, where nothing may allocate: the texts are made before the fork. */
void SystemCaller::becomeSlave(const char* readFd, const char* writeFd) {
    const int commandEnd = i_commandPipe.readEnd();
    const int resultEnd = i_resultPipe.writeEnd();
    CloseAllExcept(commandEnd, resultEnd);
    KeepOnExec(commandEnd);
    KeepOnExec(resultEnd);
    ResetSignals();
    execl(NICE, NICE, "-n", LOWEST_PRIORITY, i_slavePath.c_str(), readFd, writeFd,
          static_cast<char*>(nullptr));
    EndFailedExec();
}

void SystemCaller::destroy() {
    const AutoLockT<Lock> lock(i_lock);
    LOG_MESSAGE(CRITICAL, "Destroying slave process");
    i_initialized = false;
    i_commandPipe.close();
    i_resultPipe.close();
    if (i_slavePid > 0) {
        kill(i_slavePid, SIGTERM);
        sleep(GRACE_SECONDS);
        kill(i_slavePid, SIGKILL);
        while (waitpid(i_slavePid, nullptr, 0) == -1 && errno == EINTR) {
        }
        i_slavePid = -1;
    }
}

SystemCaller::RC SystemCaller::exec(const std::string& command, Interrupter* interrupter,
                                    const timeval* timeout) {
    RC result;
    const AutoLockT<Lock> lock(i_lock);
    const int code = runCommand(command, interrupter, timeout, result);
    if (code != 0) {
        result.localRC = code;
        destroy();
    }
    if (interrupter != nullptr) {
        interrupter->commandFinished();
    }
    return result;
}

/** 0, or the code of a failure of the link, logged. */
int SystemCaller::runCommand(const std::string& command, Interrupter* interrupter,
                             const timeval* timeout, RC& result) {
    if (!i_initialized) {
        initialize(i_slavePath);
    }
    if (!i_initialized) {
        return Fail(result, e_Error_NotInitialized, "SystemCaller cannot be initialized");
    }
    if (!sendCommand(command)) {
        return Fail(result, -1, "Could not send command " + command + " down the pipe");
    }
    return awaitEnd(interrupter, timeout, result);
}

/** A slave that has ended is noticed here and replaced once. */
bool SystemCaller::sendCommand(const std::string& command) {
    if (WriteString(i_commandPipe.writeEnd(), command) == 0) {
        return true;
    }
    initialize(i_slavePath);
    return i_initialized && WriteString(i_commandPipe.writeEnd(), command) == 0;
}

int SystemCaller::awaitEnd(Interrupter* interrupter, const timeval* timeout, RC& result) {
    InterruptForwarder forwarder(i_commandPipe.writeEnd());
    std::unique_ptr<InterruptThread> thread;
    RC failure;
    int code = 0;
    if (interrupter != nullptr || timeout != nullptr) {
        thread = std::make_unique<InterruptThread>(&forwarder, interrupter, timeout);
        if (thread->start() != 0) {
            code = Fail(failure, -1, "Could not start interrupt thread");
        }
    }
    unsigned char acknowledge = 0;
    errno = 0;  // end of file doesn't set it
    const ssize_t count = read(i_resultPipe.readEnd(), &acknowledge, 1);
    const int error = errno;
    if (thread != nullptr && thread->isCreated()) {
        const int stopped = thread->stop();
        if (stopped != 0) {
            LOG_MESSAGE(ERROR, "Could not stop interrupt thread");
            failure.stderr = "Could not stop interrupt thread";
            code = stopped;
        }
    }
    thread.reset();
    if (count != 1) {
        return Fail(result, -1, ReadFailure(count, error));
    }
    const int fetched = fetchResult(acknowledge, result);
    if (fetched == 0 && code != 0) {
        result.stderr = failure.stderr;
    }
    return fetched != 0 ? fetched : code;
}

int SystemCaller::fetchResult(unsigned char acknowledge, RC& result) {
    const int echoError = WriteByte(i_commandPipe.writeEnd(), acknowledge);
    if (echoError != 0) {
        return Fail(result, -1, std::string("Pipe write failed ") + strerror(echoError));
    }
    const int fd = i_resultPipe.readEnd();
    int error = ReadInt(fd, result.localRC);
    if (error == 0) {
        error = ReadInt(fd, result.commandRC);
    }
    if (error == 0) {
        error = ReadString(fd, result.stdout);
    }
    if (error == 0) {
        error = ReadString(fd, result.stderr);
    }
    constexpr ssize_t acknowledgeRead = 1;
    return error == 0 ? 0 : Fail(result, -1, ReadFailure(acknowledgeRead, error));
}

int SystemCaller::execLogged(const std::string& command) {
    return LogAndReturnInt(exec(command, nullptr, nullptr), command);
}

int SystemCaller::execTimed(const std::string& command, int seconds, Interrupter* interrupter) {
    const timeval timeout = Seconds(seconds);
    return LogAndReturnInt(exec(command, interrupter, &timeout), command);
}

SystemCaller::RC SystemCaller::execRetry(const std::string& command, const timeval* timeout,
                                         int retries) {
    RC result = exec(command, nullptr, timeout);
    for (int retry = 0; result.localRC == e_Error_Timeout && (retries < 0 || retry < retries);
         retry += retries < 0 ? 0 : 1) {
        result = exec(command, nullptr, timeout);
    }
    return result;
}

int SystemCaller::execRetryLogged(const std::string& command, int seconds, int retries) {
    const timeval timeout = Seconds(seconds);
    return LogAndReturnInt(execRetry(command, &timeout, retries), command);
}

int LogAndReturnInt(const SystemCaller::RC& result, const std::string& command) {
    const int code = result.localRC != 0 ? result.localRC : result.commandRC;
    if (code != 0) {
        LOG_MESSAGE(WARNING, "Syscall: %s failed. localRC: %d commandRC: %d", command.c_str(),
                    result.localRC, result.commandRC);
        LOG_MESSAGE(WARNING, "stdout: %s", result.stdout.c_str());
        LOG_MESSAGE(WARNING, "stderr: %s", result.stderr.c_str());
    }
    return code;
}
