#include "support/loopback_client.h"

#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <tuple>

namespace tovra::support {

LoopbackClient::LoopbackClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    ::signal(SIGPIPE, SIG_IGN);
    const timeval patience{30, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    // Of a fixed size, so that what nobody reads stays with the server.
    const int buffer = 65536;
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::ignore = ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

LoopbackClient::~LoopbackClient() { ::close(socket_); }

const LoopbackClient& LoopbackClient::send(std::string_view bytes) const {
    ::send(socket_, bytes.data(), bytes.size(), 0);
    return *this;
}

const LoopbackClient& LoopbackClient::endSending() const {
    ::shutdown(socket_, SHUT_WR);
    return *this;
}

std::optional<std::string> LoopbackClient::receive() const {
    std::string received;
    std::array<char, 16384> chunk{};
    while (true) {
        const ssize_t size = ::recv(socket_, chunk.data(), chunk.size(), 0);
        if (size == 0) return received;
        if (size < 0) return std::nullopt;
        received.append(chunk.data(), static_cast<std::size_t>(size));
    }
}

bool LoopbackClient::answersWithin(int milliseconds) const {
    pollfd waiting{socket_, POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) == 1;
}

bool LoopbackClient::takesWithin(int milliseconds) const {
    pollfd waiting{socket_, POLLOUT, 0};
    return ::poll(&waiting, 1, milliseconds) == 1;
}

std::uint16_t LoopbackClient::port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

std::uint16_t portNamedIn(std::string_view line) {
    constexpr std::string_view kBefore = "127.0.0.1:";
    const std::size_t place = line.find(kBefore);
    std::uint16_t port = 0;
    if (place != std::string_view::npos) {
        std::from_chars(line.data() + place + kBefore.size(), line.data() + line.size(), port);
    }
    return port;
}

}  // namespace tovra::support
