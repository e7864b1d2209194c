// The connections of a server. There is a seat for each, and their number is bounded; so are the
// bytes that all hold together. Where either runs out, one rule decides: the connection that has
// kept the server waiting longest is closed. Its wait began when it last took or gave a byte.
//
// A connection either belongs to the one thread that works on it, or it waits: for its client, or
// for room. Nothing here allocates once the table exists. May be called from several threads.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "files/file.h"
#include "http/event_queue.h"
#include "http/tcp_server.h"

namespace tovra {

// One accepted connection, for the thread that it belongs to.
struct Connection {
    enum class Phase { receiving, sending, draining };

    Phase phase = Phase::receiving;
    Descriptor socket;
    std::chrono::steady_clock::time_point deadline;  // closed if it still waits then
    std::unique_ptr<Exchange> exchange;
    std::vector<char> request;  // what has been received
    std::string answer;
    std::size_t sent = 0;  // bytes of the answer
};

class Connections {
  public:
    // REQUIRES: seats > 0. The event queue outlives the table.
    Connections(std::size_t seats, std::size_t mostBytes, EventQueue& events);

    // An empty connection, which belongs to the caller. Null while threads work on all of them.
    [[nodiscard]] Connection* take();
    // The connection that the event with this tag is for. It belongs to the caller from now on.
    // Null where it has been closed since.
    [[nodiscard]] Connection* claim(std::uint64_t tag);
    // Counts what the caller's connection is about to hold for its request; up to 16 KiB count as
    // nothing. False where there is no room, because threads work on all that hold any. Then the
    // connection is the caller's no longer, and an event for it comes after the next tick.
    [[nodiscard]] bool holdRequest(Connection& connection, std::size_t bytes);
    // Counts what the caller's connection holds for its answer, even where there is no room.
    void holdAnswer(Connection& connection, std::size_t bytes);
    // The caller's connection waits for its client, and an event comes when it can go on. It is
    // closed where the system has no room to wait for it.
    void wait(Connection& connection, EventQueue::Direction direction);
    // Closes the caller's connection.
    void close(Connection& connection);
    // To be called now and then. Closes all that wait beyond their deadline, and lets those that
    // wait for room try again. False where there are no connections.
    bool tick();

  private:
    using Clock = std::chrono::steady_clock;

    struct Seat : Connection {
        enum class State { free, worked, waiting };

        State state = State::free;
        std::uint64_t tag = 0;  // another one for each connection
        Clock::time_point waitsSince;
        bool isForRoom = false;  // it waits for room, not for its client
        std::size_t held = 0;
    };

    static Seat& ownSeat(Connection& connection);
    Seat* longestWaiting(bool holdingBytes);
    [[nodiscard]] std::size_t heldByOthersAtWork(const Seat& seat) const;
    bool makeRoom(Seat& seat, std::size_t bytes);
    void waitForClient(Seat& seat, EventQueue::Direction direction);
    void empty(Seat& seat, Seat::State state);

    EventQueue& events_;
    const std::size_t mostBytes_;
    std::mutex mutex_;
    std::vector<Seat> seats_;
    std::size_t held_ = 0;  // by all together
};

}  // namespace tovra
