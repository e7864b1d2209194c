#include "http/tcp_server.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <exception>
#include <limits>
#include <system_error>
#include <tuple>
#include <utility>

#include "files/file.h"
#include "http/connections.h"
#include "http/event_queue.h"
#include "http/serving_threads.h"

namespace tovra {
namespace {

using Clock = std::chrono::steady_clock;
using Direction = EventQueue::Direction;
using Phase = Connection::Phase;

constexpr std::size_t kChunkSize = std::size_t{64} * 1024;
constexpr std::size_t kSmallRequest = std::size_t{4} * 1024;

// The tags of events that belong to no connection.
constexpr std::uint64_t kTick = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kAccept = kTick - 1;
constexpr std::uint64_t kStop = kTick - 2;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// A socket that listens on 127.0.0.1:`port`.
Descriptor listenOn(std::uint16_t port) {
    Descriptor listener(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Old connections that the system still remembers may use the address; a listener may not.
    const int reuse = 1;
    const int socket = listener.get();
    if (::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0 ||
        ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket, SOMAXCONN) != 0 || ::fcntl(socket, F_SETFL, O_NONBLOCK) != 0) {
        fail("listen");
    }
    return listener;
}

// How many connections may be open at once. Answers need descriptors too, for files, locks and the
// time zone. A low limit of the process is raised first.
std::size_t seatsFor(std::size_t wanted) {
    constexpr rlim_t kOthers = 64;
    constexpr rlim_t kEnough = 1024;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return wanted;
    if (limit.rlim_cur < kEnough) {
        limit.rlim_cur = std::min(limit.rlim_max, kEnough);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        ::getrlimit(RLIMIT_NOFILE, &limit);
    }
    const rlim_t room = limit.rlim_cur > kOthers ? limit.rlim_cur - kOthers : 1;
    return static_cast<std::size_t>(std::min<rlim_t>(wanted, room));
}

// Whether a call that failed may go on later.
bool wouldWait() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

}  // namespace

class TcpServer::Implementation {
  public:
    Implementation(std::uint16_t port, const TcpLimits& limits, ExchangeFactory newExchange)
        : limits_(limits),
          newExchange_(std::move(newExchange)),
          listener_(listenOn(port)),
          connections_(seatsFor(limits.connections), limits.bytes, events_),
          threads_([this] { return serveOnce(); }) {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) fail("pipe");
        stopOut_ = Descriptor(ends[0]);
        stopIn_ = Descriptor(ends[1]);
        if (!events_.tellWhen(stopOut_, Direction::in, kStop) ||
            !events_.tellWhen(listener_, Direction::in, kAccept) || !threads_.start()) {
            fail("serve");
        }
    }

    ~Implementation() {
        stop();
        threads_.join();
    }

    [[nodiscard]] std::uint16_t port() const {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size);
        return ntohs(address.sin_port);
    }

    void stop() {
        if (!stopped_.exchange(true)) std::ignore = ::write(stopIn_.get(), "", 1);
    }

  private:
    bool serveOnce() {
        const std::uint64_t event = events_.next();
        if (stopped_) {
            // Wakes the next thread that waits.
            std::ignore = events_.tellWhen(stopOut_, Direction::in, kStop);
            return false;
        }
        if (event == kTick) {
            tick();
        } else if (event == kAccept) {
            accept();
        } else if (Connection* connection = connections_.claim(event)) {
            goOn(*connection);
        }
        return true;
    }

    // One clock for all connections: a clock for each would cost more than all the rest of a short
    // request.
    void startTicking() {
        if (!ticking_.exchange(true)) events_.tellAfter(limits_.tick, kTick);
    }

    void tick() {
        ticking_ = false;
        if (acceptPaused_.exchange(false)) acceptNext();
        if (connections_.tick()) startTicking();
    }

    void acceptNext() {
        if (!events_.tellWhen(listener_, Direction::in, kAccept)) pauseAccepting();
    }

    // Accepting goes on at the next tick. Threads work on all connections, or descriptors have run
    // out, and both need time to pass.
    void pauseAccepting() {
        acceptPaused_ = true;
        startTicking();
    }

    void accept() {
        Connection* connection = connections_.take();
        if (connection == nullptr) return pauseAccepting();
        const int socket = ::accept(listener_.get(), nullptr, nullptr);
        // A client that has gone already is no reason to pause.
        socket >= 0 || wouldWait() || errno == ECONNABORTED ? acceptNext() : pauseAccepting();
        if (socket < 0) return connections_.close(*connection);
        startTicking();
        connection->socket = Descriptor(socket);
        connection->deadline = Clock::now() + limits_.requestTime;
        goOn(*connection);
    }

    void goOn(Connection& connection) {
        try {
            switch (connection.phase) {
                case Phase::receiving:
                    return receive(connection);
                case Phase::sending:
                    return send(connection);
                case Phase::draining:
                    return drain(connection);
            }
        } catch (const std::exception&) {
            connections_.close(connection);
        }
    }

    void receive(Connection& connection) {
        if (!connection.exchange) connection.exchange = newExchange_(port());
        std::vector<char>& request = connection.request;
        std::array<char, kChunkSize> chunk;
        do {
            const std::size_t room = roomToReceive(connection);
            if (room == 0) return;
            const ssize_t count = ::recv(connection.socket.get(), chunk.data(),
                                         std::min(room, chunk.size()), MSG_DONTWAIT);
            if (count < 0 && wouldWait()) return connections_.wait(connection, Direction::in);
            if (count <= 0) return connections_.close(connection);
            request.insert(request.end(), chunk.data(), chunk.data() + count);
        } while (!connection.exchange->isWhole(received(connection)));
        answer(connection);
    }

    static std::string_view received(const Connection& connection) {
        return {connection.request.data(), connection.request.size()};
    }

    // How many more bytes of the request there is room for. Room grows in doubling steps, since a
    // client may announce more than it sends. 0 where the connection goes on later or is closed.
    std::size_t roomToReceive(Connection& connection) {
        std::vector<char>& request = connection.request;
        if (request.size() == request.capacity()) {
            const std::size_t room = std::min(std::max(kSmallRequest, 2 * request.size()),
                                              connection.exchange->expectedSize());
            assert(room > request.size());
            if (room > limits_.bytes) return connections_.close(connection), 0;
            if (!connections_.holdRequest(connection, room)) return 0;
            request.reserve(room);
        }
        return request.capacity() - request.size();
    }

    void answer(Connection& connection) {
        std::string answer;
        {
            const ServingThreads::LongWork work(threads_);
            if (stopped_) return connections_.close(connection);
            answer = connection.exchange->answer(received(connection));
        }
        startSending(connection, std::move(answer));
    }

    void startSending(Connection& connection, std::string answer) {
        if (stopped_ || answer.empty()) return connections_.close(connection);
        connection.answer = std::move(answer);
        connection.exchange.reset();
        std::vector<char>().swap(connection.request);
        connection.phase = Phase::sending;
        connection.deadline = Clock::now() + limits_.sendTime;
        send(connection);
    }

    // A short answer is gone at once. A long one waits until its client takes the rest.
    void send(Connection& connection) {
        const std::string& answer = connection.answer;
        while (connection.sent < answer.size()) {
            const ssize_t count = ::send(connection.socket.get(), answer.data() + connection.sent,
                                         answer.size() - connection.sent, MSG_DONTWAIT);
            if (count < 0 && wouldWait()) {
                connections_.holdAnswer(connection, answer.size());
                return connections_.wait(connection, Direction::out);
            }
            if (count < 0) return connections_.close(connection);
            connection.sent += static_cast<std::size_t>(count);
        }
        finish(connection);
    }

    // Closing while bytes of the client are unread would cut the answer off.
    void finish(Connection& connection) {
        std::string().swap(connection.answer);
        connections_.holdAnswer(connection, 0);
        if (::shutdown(connection.socket.get(), SHUT_WR) != 0) {
            return connections_.close(connection);
        }
        connection.phase = Phase::draining;
        connection.deadline = Clock::now() + limits_.drainTime;
        connections_.wait(connection, Direction::in);
    }

    void drain(Connection& connection) {
        std::array<char, kChunkSize> chunk;
        const ssize_t count =
            ::recv(connection.socket.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
        if (count == 0 || (count < 0 && !wouldWait())) return connections_.close(connection);
        connections_.wait(connection, Direction::in);
    }

    const TcpLimits limits_;
    const ExchangeFactory newExchange_;
    std::atomic<bool> stopped_ = false;
    std::atomic<bool> ticking_ = false;
    std::atomic<bool> acceptPaused_ = false;
    Descriptor stopOut_;  // a pipe: a byte in it wakes the threads when the server stops
    Descriptor stopIn_;
    EventQueue events_;
    Descriptor listener_;
    Connections connections_;
    ServingThreads threads_;
};

TcpServer::TcpServer(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

TcpServer::~TcpServer() = default;

std::unique_ptr<TcpServer> TcpServer::listen(std::uint16_t port, const TcpLimits& limits,
                                             ExchangeFactory newExchange) {
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return std::make_unique<TcpServer>(
            std::make_unique<Implementation>(port, limits, std::move(newExchange)));
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::uint16_t TcpServer::port() const { return implementation_->port(); }

void TcpServer::stop() { implementation_->stop(); }

}  // namespace tovra
