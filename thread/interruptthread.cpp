#include "thread/interruptthread.h"

#include <cerrno>
#include <cstring>

#include "cpputils/include/pipeio.h"
#include "cpputils/include/returncodes.h"
#include "logger/logger.h"
#include "thread/waitreadable.h"

namespace {

constexpr char THREAD_NAME[] = "SysCallerInterrupt";
constexpr unsigned char STOP_COMMAND = 'a';
constexpr int NO_DESCRIPTOR = -1;

std::optional<timeval> CopyOf(const timeval* timeout) {
    return timeout != nullptr ? std::optional<timeval>(*timeout) : std::nullopt;
}

}  // namespace

InterruptThread::InterruptThread(InterruptAction* action, Interrupter* interrupter,
                                 const timeval* timeout)
    : i_action(action),
      i_runner(this, THREAD_NAME, false, FRAMEWORK_THREAD_CLASS),
      i_interrupter(interrupter),
      i_timeout(CopyOf(timeout)),
      i_borrowedReadEnd(NO_DESCRIPTOR),
      i_startedSem(0),
      i_lock(PTHREAD_MUTEX_NORMAL) {}

InterruptThread::InterruptThread(InterruptAction* action, int readFd)
    : i_action(action),
      i_runner(this, THREAD_NAME, false, FRAMEWORK_THREAD_CLASS),
      i_interrupter(nullptr),
      i_borrowedReadEnd(readFd),
      i_startedSem(0),
      i_lock(PTHREAD_MUTEX_NORMAL) {}

InterruptThread::~InterruptThread() {
    if (i_runner.isCreated() && stop() != 0) {
        LOG_MESSAGE(WARNING, "Could not stop InterruptThread");
    }
}

int InterruptThread::start() {
    return i_runner.start();
}

bool InterruptThread::isCreated() const {
    return i_runner.isCreated();
}

int InterruptThread::stop() {
    if (!i_runner.isCreated()) {
        return -1;
    }
    i_startedSem.wait();
    {
        const AutoLockT<Lock> lock(i_lock);
        const int error = i_finished ? 0 : WriteByte(i_stopPipe.writeEnd(), STOP_COMMAND);
        if (error != 0) {
            LOG_MESSAGE(CRITICAL, "Could not send done command down the pipe (%s)",
                        strerror(error));
            i_startedSem.post();  // so that a later stop doesn't wait for it
            return -1;
        }
    }
    return i_runner.join(nullptr);
}

void* InterruptThread::run() {
    const bool ready = createPipes();
    const int interrupterEnd = i_interruptPipe.writeEnd();
    if (ready) {
        if (i_interrupter != nullptr) {
            i_interrupter->attachInterruptFd(interrupterEnd);
        }
        i_startedSem.post();
        waitForEvent();
    } else {
        finish(-1, "Could not create Pipes");
    }
    if (i_interrupter != nullptr) {
        i_interrupter->detachInterruptFd(interrupterEnd);
    }
    closePipes();
    if (!ready) {
        i_startedSem.post();  // only now: without a pipe, stop waits for the end
    }
    return nullptr;
}

bool InterruptThread::createPipes() {
    return i_stopPipe.create() == 0 &&
           (i_borrowedReadEnd != NO_DESCRIPTOR || i_interruptPipe.create() == 0);
}

int InterruptThread::interruptReadEnd() const {
    return i_borrowedReadEnd != NO_DESCRIPTOR ? i_borrowedReadEnd : i_interruptPipe.readEnd();
}

void InterruptThread::waitForEvent() {
    ReadableEnds readable;
    const timeval* const timeout = i_timeout.has_value() ? &*i_timeout : nullptr;
    const int count = WaitReadable(i_stopPipe.readEnd(), interruptReadEnd(), timeout, readable);
    if (count == -1) {
        finish(-1, std::string("Select failed (") + strerror(errno) + ")");
    } else if (count == 0) {
        i_action->timeout();
        finish(e_Error_Timeout, "Timeout Occured");
    } else if (!readable.first) {
        actOnMark();
    }
}

void InterruptThread::actOnMark() {
    unsigned char mark = 0;
    (void)ReadByte(interruptReadEnd(), mark);  // stays 0 at end of file: the far end is closed
    if (mark == TIMEOUT_MARK) {
        i_action->timeout();
        finish(e_Error_Timeout, "Timeout Occured");
        return;
    }
    i_action->interrupt();
    finish(-1, mark == INTERRUPT_MARK ? "Interrupted" : "Interrupted - Unknown Failure");
}

void InterruptThread::finish(int rc, const std::string& message) {
    i_rc = rc;
    i_message = message;
}

void InterruptThread::closePipes() {
    const AutoLockT<Lock> lock(i_lock);
    i_finished = true;
    i_stopPipe.close();
    i_interruptPipe.close();
}
