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

/** For 1, 0 and -1, kill would signal every process, this process's own group, or init. */
void InterruptProcess::signalGroup(int signal) const {
    if (i_process >= 2) {
        kill(-i_process, signal);
    }
}

// A failed write is ignored: reading the result shows that the slave has ended.
void InterruptForwarder::interrupt() {
    (void)WriteByte(i_writeFd, INTERRUPT_MARK);
}

void InterruptForwarder::timeout() {
    (void)WriteByte(i_writeFd, TIMEOUT_MARK);
}
