#include "thread/interruptactions.h"

#include <unistd.h>

#include <csignal>

#include "cpputils/include/pipeio.h"

namespace {
constexpr unsigned GRACE_SECONDS = 1;
}

void InterruptProcess::interrupt() {
    endGroup();
}

void InterruptProcess::timeout() {
    endGroup();
}

void InterruptProcess::endGroup() const {
    signalGroup(SIGTERM);
    sleep(GRACE_SECONDS);
    signalGroup(SIGKILL);
}

/** The negated number of a process below 2 would address far more than one group. */
void InterruptProcess::signalGroup(int signal) const {
    if (i_process >= 2) {
        kill(-i_process, signal);
    }
}

// A slave that is gone shows where the result is read.
void InterruptForwarder::interrupt() {
    (void)WriteByte(i_writeFd, INTERRUPT_MARK);
}

void InterruptForwarder::timeout() {
    (void)WriteByte(i_writeFd, TIMEOUT_MARK);
}
