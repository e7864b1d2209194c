// The events of sockets and of a clock. Several threads wait here together for the next one.
//
// May be called from any thread. Nothing here needs memory of the process once the queue exists.
#pragma once

#include <chrono>
#include <cstdint>

#include "files/file.h"

namespace tovra {

class EventQueue {
  public:
    enum class Direction { in, out };

    // Throws std::system_error where the system has no queue to give.
    EventQueue();

    // Asks for one event with this tag: as soon as the socket or pipe has failed, or can be read or
    // written without waiting. That replaces what was asked for the same descriptor before,
    // and ends when the descriptor is closed. False where the system has no room for it.
    [[nodiscard]] bool tellWhen(const Descriptor& descriptor, Direction direction,
                                std::uint64_t tag);
    // Asks for one event with this tag after that time, in place of what was asked before.
    void tellAfter(std::chrono::milliseconds time, std::uint64_t tag);

    // Waits for the next event and gives its tag. Only one of the waiting threads gets it.
    [[nodiscard]] std::uint64_t next();

  private:
    Descriptor queue_;
    Descriptor clock_;  // on Linux, where a timer is a descriptor
};

}  // namespace tovra
