#include "bench/http_load.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>

#include "platform/line_io.h"

namespace tovra::bench {
namespace {

// A connection that does not wait for ever.
class Socket {
  public:
    Socket() : number_(::socket(AF_INET, SOCK_STREAM, 0)) {
        const timeval patience{10, 0};
        ::setsockopt(number_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ::setsockopt(number_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() { ::close(number_); }

    bool connect(std::uint16_t port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return ::connect(number_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    bool send(std::string_view bytes) { return writeAll(number_, bytes); }

    // All bytes up to the end of the other side; none when they do not come.
    std::string receiveAll() {
        std::string bytes;
        std::array<char, 16384> chunk{};
        for (;;) {
            const ssize_t count = ::recv(number_, chunk.data(), chunk.size(), 0);
            if (count < 0) return {};
            if (count == 0) return bytes;
            bytes.append(chunk.data(), static_cast<std::size_t>(count));
        }
    }

  private:
    int number_;
};

bool isAnswered(std::uint16_t port, std::string_view request) {
    Socket socket;
    return socket.connect(port) && socket.send(request) &&
           socket.receiveAll().starts_with("HTTP/1.1 200 ");
}

}  // namespace

std::string postRequest(std::string_view message) {
    return "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n"
           "Accept: application/json\r\nContent-Length: " +
           std::to_string(message.size()) + "\r\n\r\n" + std::string(message);
}

LoadResult sendRequests(std::uint16_t port, std::string_view request, std::size_t count,
                        std::size_t clients) {
    LoadResult result{0, std::vector<Seconds>(count)};
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> failed{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            result.times[i] = timed([&] {
                if (!isAnswered(port, request)) ++failed;
            });
        }
    };
    const Seconds whole = timed([&] {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < clients; ++i) threads.emplace_back(work);
        for (std::thread& thread : threads) thread.join();
    });
    if (failed > 0) throw std::runtime_error("requests over HTTP without the answer 200");
    result.perSecond = static_cast<double>(count) / whole.count();
    return result;
}

}  // namespace tovra::bench
