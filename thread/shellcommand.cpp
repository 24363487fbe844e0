#include "thread/shellcommand.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "cpputils/include/pipeio.h"
#include "thread/childprocess.h"
#include "thread/fdbufferthread.h"
#include "thread/interruptactions.h"
#include "thread/interruptthread.h"
#include "thread/pipeends.h"

namespace {

constexpr pid_t NO_PROCESS = -1;

/** One output of the command: its pipe, and the thread that drains the pipe. */
struct Capture {
    PipeEnds pipe;
    std::unique_ptr<FDBufferThread> thread;

    int start() {
        pipe.closeWrite();
        thread = std::make_unique<FDBufferThread>(pipe.readEnd());
        return thread->start();
    }
    bool isRunning() const { return thread != nullptr && thread->isCreated(); }
    bool joinFails() const { return isRunning() && thread->join(nullptr) != 0; }
};

/** One running command. A step that fails records why; `finish` may follow any step. */
class ShellCommand {
  public:
    ShellCommand(const std::string& command, int interruptFd, bool capture)
        : i_command(command), i_interruptFd(interruptFd), i_capture(capture) {}

    SystemCaller::RC run() {
        if (createPipes() && forkShell()) {
            if (startCapture() && startInterrupt()) {
                waitForShell();
            } else {
                letShellEnd();
            }
        }
        finish();
        return i_result;
    }

  private:
    bool createPipes();
    bool forkShell();
    [[noreturn]] void becomeShell();
    bool startCapture();
    bool startInterrupt();
    void waitForShell();
    void letShellEnd();
    void finish();
    void collect();
    bool fail(const std::string& text);

    const std::string& i_command;
    const int i_interruptFd;
    const bool i_capture;
    SystemCaller::RC i_result;
    std::string i_failure;
    Capture i_output;
    Capture i_error;
    pid_t i_child = NO_PROCESS;
    InterruptProcess i_action;
    std::unique_ptr<InterruptThread> i_interrupt;
};

bool ShellCommand::fail(const std::string& text) {
    i_result.localRC = -1;
    i_failure += text;
    return false;
}

bool ShellCommand::createPipes() {
    if (i_capture && (i_output.pipe.create() != 0 || i_error.pipe.create() != 0)) {
        return fail("Could not create Pipes");
    }
    return true;
}

bool ShellCommand::forkShell() {
    i_child = fork();
    if (i_child == 0) {
        becomeShell();
    }
    if (i_child == NO_PROCESS) {
        return fail(std::string("Could not fork a process (") + strerror(errno) + ")");
    }
    // The child does the same: whichever runs first, the group exists before anybody signals it.
    setpgid(i_child, i_child);
    i_action.setProcess(i_child);
    return true;
}

/** In the child: nothing here may allocate or lock. */
void ShellCommand::becomeShell() {
    if (i_capture) {
        dup2(i_output.pipe.writeEnd(), STDOUT_FILENO);
        dup2(i_error.pipe.writeEnd(), STDERR_FILENO);
    }
    CloseAllExcept(-1, -1);
    setpgrp();
    ResetSignals();
    execl("/bin/sh", "sh", "-c", i_command.c_str(), static_cast<char*>(nullptr));
    EndFailedExec();
}

bool ShellCommand::startCapture() {
    if (i_capture && (i_output.start() != 0 || i_error.start() != 0)) {
        return fail("Could not start the capture threads");
    }
    return true;
}

bool ShellCommand::startInterrupt() {
    i_interrupt = std::make_unique<InterruptThread>(&i_action, i_interruptFd);
    return i_interrupt->start() == 0 || fail("Could not start the interrupt thread");
}

void ShellCommand::waitForShell() {
    if (waitpid(i_child, &i_result.commandRC, 0) != i_child) {
        fail("Could not wait for the child process");
    }
}

/**
 * The command can't be interrupted, so an output without a reader is closed: the command must not
 * block on it.
 */
void ShellCommand::letShellEnd() {
    for (Capture* capture : {&i_output, &i_error}) {
        if (!capture->isRunning()) {
            capture->pipe.closeRead();
        }
    }
    waitpid(i_child, nullptr, 0);
}

void ShellCommand::finish() {
    if (i_interrupt != nullptr && i_interrupt->isCreated() && i_interrupt->stop() != 0) {
        fail("Could not stop InterruptThread");
    }
    if (i_output.joinFails()) {
        fail("Could not wait for outThread");
    }
    if (i_error.joinFails()) {
        fail("Could not wait for errThread");
    }
    if (i_result.localRC == 0 && i_interrupt != nullptr) {
        i_result.localRC = i_interrupt->rc();
        i_failure += i_interrupt->message();
    }
    collect();
    sync();  // the command's files are on the disk before the master gets the result
    if (i_result.localRC != 0) {
        i_result.stderr = i_failure;
    }
}

void ShellCommand::collect() {
    if (i_output.thread != nullptr && i_error.thread != nullptr) {
        i_result.stdout = i_output.thread->getText();
        i_result.stderr = i_error.thread->getText();
    }
}

}  // namespace

SystemCaller::RC RunShellCommand(const std::string& command, int interruptFd, bool capture) {
    return ShellCommand(command, interruptFd, capture).run();
}
