#pragma once

#include <sys/types.h>

#include "thread/interruptthread.h"

/**
 * Ends a command's process group: SIGTERM, and a second later SIGKILL. Interrupt and timeout do
 * the same.
 */
class InterruptProcess : public InterruptAction {
  public:
    InterruptProcess() = default;

    /** The group's leader. Until it is set, and for any number below 2, nothing is signalled. */
    void setProcess(pid_t process) { i_process = process; }
    void interrupt() override;
    void timeout() override;

  private:
    void endGroup() const;
    void signalGroup(int signal) const;

    pid_t i_process = -1;
};

/** Forwards an interrupt or a timeout: writes its mark to the borrowed end of the command pipe. */
class InterruptForwarder : public InterruptAction {
  public:
    explicit InterruptForwarder(int writeFd) : i_writeFd(writeFd) {}
    void interrupt() override;
    void timeout() override;

  private:
    const int i_writeFd;
};
