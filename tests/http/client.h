// A client of a server on this machine that can misbehave. Every wait is bounded.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <string_view>

namespace tovra::test {

class Client {
  public:
    explicit Client(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        ::signal(SIGPIPE, SIG_IGN);  // a server that hung up is a failed send here
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { ::close(socket_); }

    // As much of it as the server takes before it hangs up.
    const Client& send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), 0);
            if (sent <= 0) break;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return *this;
    }

    const Client& endSending() const { return ::shutdown(socket_, SHUT_WR), *this; }

    // All that the server sends until it ends; "(patience is over)" at the end where it does not.
    [[nodiscard]] std::string receive() const {
        std::string received;
        std::array<char, 65536> chunk;
        while (answersWithin(30'000)) {
            const ssize_t size = ::recv(socket_, chunk.data(), chunk.size(), 0);
            if (size <= 0) return received;
            received.append(chunk.data(), static_cast<std::size_t>(size));
        }
        return received + "(patience is over)";
    }

    // Whether bytes or the end of them come within that many milliseconds.
    [[nodiscard]] bool answersWithin(int milliseconds) const {
        pollfd waiting{socket_, POLLIN, 0};
        return ::poll(&waiting, 1, milliseconds) == 1;
    }

  private:
    int socket_;
};

}  // namespace tovra::test
