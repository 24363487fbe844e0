#include "thread/childprocess.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

void ResetSignals() {
    for (int number = 1; number < NSIG; ++number) {
        signal(number, SIG_DFL);  // fails, harmlessly, for SIGKILL, SIGSTOP and the C library's own
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

void KeepOnExec(int fd) {
    fcntl(fd, F_SETFD, 0);
}

void EndFailedExec() {
    constexpr int commandNotFound = 127;
    _exit(commandNotFound);
}
