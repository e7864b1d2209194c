// The signals that ask the process to end: SIGTERM, and SIGINT and SIGHUP unless they are ignored.
// Who starts a program in the background, or to outlive the terminal, has those two ignored.
#pragma once

#include <signal.h>

namespace tovra {

// Keeps the signals from ending the process, or from interrupting anything in it, until they are
// awaited. Threads inherit this, so it must be called before the first one is started.
void holdEndSignals();

// Waits until one of the signals comes, or has come since they were held.
// REQUIRES: holdEndSignals() was called, and no other thread waits here.
void awaitEndSignal();

// Whether one of the signals has come and is held back from the calling thread.
[[nodiscard]] bool isEndSignalPending();

// While one exists, the signals do not reach the thread that made it. What came meanwhile takes
// effect when it is destroyed, on that same thread.
class SignalHold {
  public:
    SignalHold();
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;
    ~SignalHold();

  private:
    sigset_t before_;
};

}  // namespace tovra
