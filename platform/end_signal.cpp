#include "platform/end_signal.h"

#include <csignal>
#include <initializer_list>

namespace tovra {
namespace {

// SIGINT and SIGHUP only where they mean anything: who starts a program in the background, or to
// outlive the terminal, has them ignored.
sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    for (const int signal : {SIGINT, SIGHUP}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
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
