#include "http/connections.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <exception>
#include <thread>
#include <utility>

namespace tovra::http {
namespace {

// So many stay when there is less to do, since a start costs more than a short request.
constexpr std::size_t kMostIdleThreads = 32;

// How long a client may keep the last thread waiting, while nobody accepts.
constexpr std::chrono::milliseconds kLastThreadWait{100};

// Up to so many bytes of a connection do not count, so that an ordinary request always has room.
constexpr std::size_t kUncounted = std::size_t{16} * 1024;

std::size_t counted(std::size_t bytes) { return bytes > kUncounted ? bytes : 0; }

// Whether a call that failed may go on later.
bool wouldWait() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

Socket::~Socket() {
    if (descriptor_ < 0) return;
    ::shutdown(descriptor_, SHUT_RDWR);
    ::close(descriptor_);
}

Connections::Connections(std::size_t most, std::size_t mostBytes, std::function<void()> serve)
    : mostThreads_(most + 1), mostBytes_(mostBytes), serve_(std::move(serve)) {
    connections_.reserve(mostThreads_);
}

bool Connections::start() {
    std::unique_lock lock(mutex_);
    return startThread(lock);
}

// The new thread counts as idle from the beginning, so that nobody meanwhile finds that there is
// none. The lock is released while it is started.
bool Connections::startThread(std::unique_lock<std::mutex>& lock) {
    if (threads_ == mostThreads_) return false;
    ++threads_;
    ++idle_;
    lock.unlock();
    bool isStarted = true;
    try {
        std::thread([this] { serve_(); }).detach();
    } catch (const std::exception&) {
        isStarted = false;
    }
    lock.lock();
    if (isStarted) return true;
    --threads_;
    --idle_;
    return false;
}

bool Connections::mayAccept() {
    const std::lock_guard lock(mutex_);
    if (!isStopped_ && idle_ <= kMostIdleThreads) return true;
    --idle_;
    --threads_;
    changed_.notify_all();
    return false;
}

std::size_t Connections::stop() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    const std::size_t accepting = idle_;
    for (Connection* each : connections_) {
        if (!each->isEnded_) end(*each);
    }
    return accepting;
}

void Connections::join() {
    std::unique_lock lock(mutex_);
    assert(isStopped_);
    changed_.wait(lock, [&] { return threads_ == 0; });
}

void Connections::end(Connection& connection) {
    connection.isEnded_ = true;
    ++idle_;
    ::shutdown(connection.socket_.get(), SHUT_RDWR);
    changed_.notify_all();
}

void Connections::endLongestWaiting(const Connection& newcomer, Which which) {
    Connection* longest = nullptr;
    for (Connection* each : connections_) {
        if (each == &newcomer || each->isAtWork_ || each->isEnded_) continue;
        if (which == Which::holdingBytes && each->held_ == 0) continue;
        if (longest == nullptr || each->waitsSince_ < longest->waitsSince_) longest = each;
    }
    if (longest != nullptr) end(*longest);
}

// Whether there is room for what the newcomer is to hold. Others are ended for it, whose threads
// may have to give their bytes back first.
bool Connections::makeRoom(const Connection& newcomer, std::size_t bytes) {
    const auto held = [&](auto counts) {
        std::size_t sum = bytes;
        for (const Connection* each : connections_) {
            if (each != &newcomer && counts(*each)) sum += each->held_;
        }
        return sum;
    };
    // Nobody is ended in vain: what those hold who are at work cannot be had.
    if (held([](const Connection& each) { return each.isAtWork_; }) > mostBytes_) return false;
    while (held([](const Connection& each) { return !each.isEnded_; }) > mostBytes_) {
        endLongestWaiting(newcomer, Which::holdingBytes);
    }
    return held([](const Connection&) { return true; }) <= mostBytes_;
}

Connection::Connection(Connections& all, int socket, std::chrono::milliseconds time)
    : all_(all), socket_(socket) {
    std::unique_lock lock(all_.mutex_);
    all_.connections_.push_back(this);
    --all_.idle_;
    if (all_.isStopped_) all_.end(*this);
    if (all_.idle_ == 0 && !all_.startThread(lock) && all_.idle_ == 0) {
        all_.endLongestWaiting(*this, Connections::Which::all);
    }
    wait(time);
}

Connection::~Connection() {
    const std::lock_guard lock(all_.mutex_);
    std::erase(all_.connections_, this);
    if (!isEnded_) ++all_.idle_;
    all_.changed_.notify_all();
}

std::size_t Connection::receive(char* into, std::size_t room) {
    do {
        const ssize_t count = ::recv(socket_.get(), into, room, MSG_DONTWAIT);
        if (count >= 0) return static_cast<std::size_t>(count);
    } while (wouldWait() && awaitReadiness(POLLIN));
    return 0;
}

bool Connection::send(std::string_view bytes) {
    const std::size_t size = bytes.size();
    while (true) {
        const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (count < 0 && !wouldWait()) return false;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (bytes.empty()) return true;
        if (held_ == 0 && counted(size) > 0) {
            const std::lock_guard lock(all_.mutex_);
            all_.makeRoom(*this, counted(size));
            held_ = counted(size);
        }
        if (!awaitReadiness(POLLOUT)) return false;
    }
}

void Connection::endSending() { ::shutdown(socket_.get(), SHUT_WR); }

void Connection::giveUp() {
    const std::lock_guard lock(all_.mutex_);
    const linger reset{1, 0};
    if (isEnded_) ::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

bool Connection::awaitRoom(std::size_t bytes) {
    if (counted(bytes) == 0) return true;
    assert(bytes <= all_.mostBytes_);
    std::unique_lock lock(all_.mutex_);
    waitsSince_ = Clock::now();
    const auto isSettled = [&] { return isEnded_ || all_.makeRoom(*this, bytes); };
    if (!all_.changed_.wait_until(lock, deadline_, isSettled) || isEnded_) return false;
    held_ = bytes;
    return true;
}

bool Connection::beginWork() {
    const std::lock_guard lock(all_.mutex_);
    isAtWork_ = !isEnded_;
    return isAtWork_;
}

void Connection::beginWait(std::chrono::milliseconds time) {
    const std::lock_guard lock(all_.mutex_);
    isAtWork_ = false;
    held_ = 0;
    wait(time);
    all_.changed_.notify_all();
}

// Called under the lock.
void Connection::wait(std::chrono::milliseconds time) {
    waitsSince_ = Clock::now();
    deadline_ = waitsSince_ + (all_.idle_ > 0 ? time : std::min(time, kLastThreadWait));
}

bool Connection::awaitReadiness(short event) {
    {
        const std::lock_guard lock(all_.mutex_);
        waitsSince_ = Clock::now();
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
    pollfd socket{socket_.get(), event, 0};
    return left.count() > 0 && ::poll(&socket, 1, static_cast<int>(left.count())) != 0;
}

}  // namespace tovra::http
