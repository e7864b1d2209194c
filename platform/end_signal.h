// The signals that ask the process to end: SIGTERM, and SIGINT and SIGHUP
// unless they are ignored.
#pragma once

namespace tovra {

// Keeps the signals from ending the process, or from interrupting anything in it, until they are
// awaited. Threads inherit this, so it must be called before the first one is started.
void holdEndSignals();

// Waits until one of the signals comes, or has come since they were held.
// REQUIRES: holdEndSignals() was called, and no other thread waits here.
void awaitEndSignal();

}  // namespace tovra
