#include "platform/signals.h"

#include <cassert>
#include <initializer_list>

namespace tovra {
namespace {

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

[[maybe_unused]] bool isHeld(int signal) {
    sigset_t held;
    return pthread_sigmask(SIG_SETMASK, nullptr, &held) == 0 && sigismember(&held, signal) == 1;
}

}  // namespace

void holdEndSignals() {
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void awaitEndSignal() {
    const sigset_t signals = endSignals();
    assert(isHeld(SIGTERM));
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
}

bool isEndSignalPending() {
    const sigset_t signals = endSignals();
    sigset_t pending;
    if (sigpending(&pending) != 0) return false;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        if (sigismember(&signals, signal) == 1 && sigismember(&pending, signal) == 1) return true;
    }
    return false;
}

SignalHold::SignalHold() {
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SignalHold::~SignalHold() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace tovra
