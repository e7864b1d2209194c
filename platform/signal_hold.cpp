#include "platform/signal_hold.h"

#include <initializer_list>

namespace tovra {

SignalHold::SignalHold() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&held, signal);
    pthread_sigmask(SIG_BLOCK, &held, &before_);
}

SignalHold::~SignalHold() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

}  // namespace tovra
