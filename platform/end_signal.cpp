#include "platform/end_signal.h"

#include <csignal>

namespace tovra {
namespace {

// SIGHUP only where it means anything: who starts a program to outlive the terminal ignores it.
sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    struct sigaction hangup {};
    if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        sigaddset(&signals, SIGHUP);
    return signals;
}

}  // namespace

void holdEndSignals() {
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void awaitEndSignal() {
    const sigset_t signals = endSignals();
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
}

}  // namespace tovra
