// The signals that ask the process to end: SIGTERM, and SIGINT and SIGHUP unless they are ignored.
// Shells ignore SIGINT for a program in the background, and nohup ignores SIGHUP.
#pragma once

#include <signal.h>

namespace tovra {

// Holds the signals back until they are awaited: they neither end nor interrupt anything. Threads
// inherit this, so call it before the first one is started.
void holdEndSignals();

// Waits until one of the signals comes, or has come since they were held.
// REQUIRES: holdEndSignals() was called, and no other thread waits here.
void awaitEndSignal();

// Whether one of the signals has come and is held back from the calling thread.
[[nodiscard]] bool isEndSignalPending();

// While one exists, the signals do not reach the thread that made it. One that came meanwhile takes
// effect when the same thread destroys the object.
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
