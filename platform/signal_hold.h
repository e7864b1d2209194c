// Work that a request to end the process has to wait for.
#pragma once

#include <signal.h>

namespace tovra {

// While one exists, SIGTERM, SIGINT and SIGHUP do not reach the thread that made it; what came
// meanwhile takes effect when it is destroyed, on that same thread.
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
