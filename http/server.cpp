#include "http/server.h"

#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace tovra::http {
namespace {

// Messages larger than this are answered one at a time. One of short numbers or brackets takes many
// times its size in memory.
constexpr std::size_t kLargeMessage = std::size_t{64} * 1024;

static_assert(RequestLimits{}.request <= ServerLimits{}.bytes);

// What a request has room for at first, and how much is thrown away at a time.
constexpr std::size_t kSmallRequest = std::size_t{4} * 1024;

// After a failure to accept. Descriptors, or memory of the system, may be there again by then.
constexpr std::chrono::milliseconds kPause{100};

sockaddr_in loopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// Listens, and returns the port.
std::uint16_t listenOn(int socket, std::uint16_t port) {
    sockaddr_in address = loopbackAddress(port);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    // Old connections that the system still remembers may use the address; a listener may not.
    const int reuse = 1;
    if (::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) != 0 ||
        ::bind(socket, any, size) != 0 || ::listen(socket, SOMAXCONN) != 0 ||
        ::getsockname(socket, any, &size) != 0) {
        throw std::system_error(errno, std::generic_category(), "listen");
    }
    return ntohs(address.sin_port);
}

// How many connections may be open at once. Answers need descriptors too, for files, locks and the
// time zone. A low limit of the process is raised first.
std::size_t connectionsFor(std::size_t wanted) {
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

[[maybe_unused]] bool isIgnored(int signal) {
    struct sigaction now {};
    return ::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

}  // namespace

Server::Server(std::uint16_t port, std::string token, Handler handle, const ServerLimits& limits)
    : token_(std::move(token)),
      handle_(std::move(handle)),
      limits_(limits),
      listener_(::socket(AF_INET, SOCK_STREAM, 0)),
      port_(listenOn(listener_.get(), port)),
      connections_(connectionsFor(limits.connections), limits.bytes, [this] { serve(); }) {
    assert(isIgnored(SIGPIPE));
    if (!connections_.start()) {
        throw std::system_error(EAGAIN, std::generic_category(), "thread");
    }
}

// What waits in accept() is woken by a connection: no other way does it on every system.
Server::~Server() {
    const sockaddr_in address = loopbackAddress(port_);
    for (std::size_t waiting = connections_.stop(); waiting > 0; --waiting) {
        const Socket client(::socket(AF_INET, SOCK_STREAM, 0));
        std::ignore =
            ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    connections_.join();
}

void Server::serve() {
    while (connections_.mayAccept()) {
        const int socket = ::accept(listener_.get(), nullptr, nullptr);
        if (socket >= 0) {
            Connection connection(connections_, socket, limits_.requestTime);
            try {
                serve(connection);
            } catch (const std::exception&) {  // memory has run out, for instance
            }
        } else if (errno != EINTR && errno != ECONNABORTED) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

void Server::serve(Connection& connection) {
    {
        const std::optional<std::string> response = answer(connection);
        if (!response) return connection.giveUp();
        connection.beginWait(limits_.sendTime);
        if (!connection.send(*response)) return;
    }
    // Closing while bytes of the client are unread would cut the answer off.
    connection.endSending();
    connection.beginWait(limits_.drainTime);
    std::array<char, kSmallRequest> unread;
    while (connection.receive(unread.data(), unread.size()) > 0) continue;
}

// Reads the request and answers it. Nothing comes back where the connection has to be closed.
std::optional<std::string> Server::answer(Connection& connection) {
    RequestReader reader(port_, token_);
    std::vector<char> bytes;
    std::size_t received = 0;
    std::optional<Request> request;
    while (!(request = reader.examine({bytes.data(), received}))) {
        if (received == bytes.size()) {
            // Room grows in doubling steps, since a client may announce more than it sends.
            const std::size_t room =
                std::min(std::max(kSmallRequest, 2 * received), reader.expectedSize());
            if (!connection.awaitRoom(room)) return std::nullopt;
            bytes.reserve(room);
            bytes.resize(room);
        }
        const std::size_t more =
            connection.receive(bytes.data() + received, bytes.size() - received);
        if (more == 0) return std::nullopt;
        received += more;
    }
    if (!connection.beginWork()) return std::nullopt;
    std::unique_lock turn(largeMessages_, std::defer_lock);
    if (request->body.size() > kLargeMessage) turn.lock();
    return processRequest(*request, handle_);
}

}  // namespace tovra::http
