// What sockets and a clock tell: several threads wait here together for the next event.
//
// May be called from any thread. Nothing here needs memory of the process once the queue exists.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/file.h"

namespace tovra {

class EventQueue {
  public:
    enum class Direction { in, out };

    // Throws std::system_error where the system has no queue to give.
    EventQueue();

    // Asks for one event with this tag, as soon as the socket or pipe can be read or written
    // without waiting, or has failed. It takes the place of what was asked for the same descriptor
    // before, and goes when the descriptor is closed. False where the system has no room for it.
    [[nodiscard]] bool tellWhen(const Descriptor& descriptor, Direction direction,
                                std::uint64_t tag);
    // Asks for one event with this tag after that time. There is one such wish at a time.
    void tellAfter(std::chrono::milliseconds time, std::uint64_t tag);

    // Waits for the next event and gives its tag, to one of the threads that wait.
    [[nodiscard]] std::uint64_t next();

  private:
    Descriptor queue_;
    Descriptor clock_;  // where the system keeps time with a descriptor
};

}  // namespace tovra
