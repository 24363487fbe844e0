#include "companions/operator/run/signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <initializer_list>

namespace run {

namespace {

/** False if it was ignored before. */
bool Ignore(int signal) {
    struct sigaction before = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(signal, &ignore, &before);
    return before.sa_handler != SIG_IGN;
}

}  // namespace

Signals::Signals() {
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGQUIT);
    sigaddset(&ends, SIGTERM);
    // Blocked first: a blocked signal stays pending for the descriptor even if it is ignored.
    sigprocmask(SIG_BLOCK, &ends, &i_maskBefore);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM}) {
        if (!Ignore(signal)) {
            sigdelset(&ends, signal);
        }
    }
    Ignore(SIGHUP);
    sigemptyset(&i_defaultsOfChildren);
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGTSTP, SIGTTIN, SIGTTOU}) {
        if (Ignore(signal)) {
            sigaddset(&i_defaultsOfChildren, signal);
        }
    }
    i_descriptor = signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
}

Signals::~Signals() {
    close(i_descriptor);
}

int Signals::take() {
    signalfd_siginfo info;
    return read(i_descriptor, &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo)
                                                                 : 0;
}

ChildAttributes::ChildAttributes(const Signals& signals) {
    posix_spawnattr_init(&i_attributes);
    posix_spawnattr_setflags(&i_attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&i_attributes, &signals.maskBefore());
    posix_spawnattr_setsigdefault(&i_attributes, &signals.defaultsOfChildren());
}

ChildAttributes::~ChildAttributes() {
    posix_spawnattr_destroy(&i_attributes);
}

}  // namespace run
