#include "http/connections.h"

#include <algorithm>
#include <cassert>

namespace tovra {
namespace {

// Up to so many bytes of a connection do not count, so that an ordinary request always has room.
constexpr std::size_t kUncounted = std::size_t{16} * 1024;

constexpr std::size_t counted(std::size_t bytes) { return bytes > kUncounted ? bytes : 0; }

}  // namespace

Connections::Connections(std::size_t seats, std::size_t mostBytes, EventQueue& events)
    : events_(events), mostBytes_(mostBytes), seats_(seats) {
    assert(seats > 0);
    for (std::size_t i = 0; i < seats; ++i) seats_[i].tag = i;
}

Connection* Connections::take() {
    const std::lock_guard lock(mutex_);
    const auto free = std::find_if(seats_.begin(), seats_.end(), [](const Seat& seat) {
        return seat.state == Seat::State::free;
    });
    Seat* seat = free == seats_.end() ? longestWaiting(false) : &*free;
    if (seat != nullptr) empty(*seat, Seat::State::worked);
    return seat;
}

Connection* Connections::claim(std::uint64_t tag) {
    const std::lock_guard lock(mutex_);
    Seat& seat = seats_[tag % seats_.size()];
    if (seat.tag != tag || seat.state != Seat::State::waiting) return nullptr;
    seat.state = Seat::State::worked;
    return &seat;
}

bool Connections::holdRequest(Connection& connection, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    Seat& seat = ownSeat(connection);
    // Nobody is closed in vain: what those hold who are worked on cannot be had.
    const std::size_t most = mostBytes_ - heldByOthersAtWork(seat);
    if (counted(bytes) <= most && makeRoom(seat, bytes)) return true;
    seat.waitsSince = Clock::now();
    seat.state = Seat::State::waiting;
    seat.isForRoom = true;
    return false;
}

void Connections::holdAnswer(Connection& connection, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    Seat& seat = ownSeat(connection);
    if (makeRoom(seat, bytes)) return;
    held_ += bytes - seat.held;
    seat.held = bytes;
}

void Connections::wait(Connection& connection, EventQueue::Direction direction) {
    const std::lock_guard lock(mutex_);
    waitForClient(ownSeat(connection), direction);
}

void Connections::close(Connection& connection) {
    const std::lock_guard lock(mutex_);
    empty(ownSeat(connection), Seat::State::free);
}

bool Connections::tick() {
    const std::lock_guard lock(mutex_);
    const Clock::time_point now = Clock::now();
    bool any = false;
    for (Seat& seat : seats_) {
        if (seat.state == Seat::State::waiting && seat.deadline <= now) {
            empty(seat, Seat::State::free);
        } else if (seat.state == Seat::State::waiting && seat.isForRoom) {
            waitForClient(seat, EventQueue::Direction::in);
        }
        any = any || seat.state != Seat::State::free;
    }
    return any;
}

// The seat of a connection that belongs to the caller.
Connections::Seat& Connections::ownSeat(Connection& connection) {
    Seat& seat = static_cast<Seat&>(connection);
    assert(seat.state == Seat::State::worked);
    return seat;
}

Connections::Seat* Connections::longestWaiting(bool holdingBytes) {
    Seat* longest = nullptr;
    for (Seat& seat : seats_) {
        if (seat.state != Seat::State::waiting || (holdingBytes && seat.held == 0)) continue;
        if (longest == nullptr || seat.waitsSince < longest->waitsSince) longest = &seat;
    }
    return longest;
}

std::size_t Connections::heldByOthersAtWork(const Seat& seat) const {
    std::size_t held = 0;
    for (const Seat& other : seats_) {
        if (&other != &seat && other.state == Seat::State::worked) held += other.held;
    }
    return std::min(held, mostBytes_);  // answers are held in any case
}

// Lets the seat hold that much, and closes others for it where there is no room.
bool Connections::makeRoom(Seat& seat, std::size_t bytes) {
    const std::size_t held = counted(bytes);
    while (held > seat.held && held_ - seat.held + held > mostBytes_) {
        Seat* other = longestWaiting(true);
        if (other == nullptr) return false;
        empty(*other, Seat::State::free);
    }
    held_ = held_ - seat.held + held;
    seat.held = held;
    return true;
}

// Called under the lock: nobody may claim or close the connection before its event is asked for.
void Connections::waitForClient(Seat& seat, EventQueue::Direction direction) {
    seat.waitsSince = Clock::now();
    seat.state = Seat::State::waiting;
    seat.isForRoom = false;
    if (!events_.tellWhen(seat.socket, direction, seat.tag)) empty(seat, Seat::State::free);
}

void Connections::empty(Seat& seat, Seat::State state) {
    held_ -= seat.held;
    const std::uint64_t tag = seat.tag + seats_.size();
    // A text keeps its memory where a short one is assigned to it.
    std::string().swap(seat.answer);
    seat = Seat{};
    seat.tag = tag;
    seat.state = state;
}

}  // namespace tovra
