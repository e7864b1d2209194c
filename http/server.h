// The HTTP server: takes connections, reads one request from each, answers it and closes.
//
// A connection that ends, fails or takes too long before its request is whole is closed unanswered.
// So is one whose answer there is no memory for.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "http/connections.h"
#include "http/request.h"

namespace tovra::http {

// Where connections or bytes run out, the connection that has kept the server waiting longest is
// closed for the newcomer. While all others are at work, the newcomer waits.
struct ServerLimits {
    std::size_t connections = 256;  // open at once, as far as there are descriptors and threads
    // What requests and unread answers of more than 16 KiB may take together.
    std::size_t bytes = std::size_t{64} * 1024 * 1024;
    std::chrono::milliseconds requestTime{30'000};  // from the acceptance to the whole request
    std::chrono::milliseconds sendTime{30'000};     // for the client to take the answer
    std::chrono::milliseconds drainTime{1'000};     // for the client to end its side after that
};

class Server {
  public:
    // Listens on 127.0.0.1:`port` (0: a port that the system picks) and serves. An empty token
    // means that none is asked for. Throws std::exception where it cannot listen, or there is no
    // thread to serve.
    //
    // REQUIRES: the process ignores SIGPIPE, and no request is larger than limits.bytes.
    Server(std::uint16_t port, std::string token, Handler handle, const ServerLimits& limits = {});
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    // Waits for the calls that are running, and closes every connection. Not to be called from
    // within `handle`.
    ~Server();

    // Any thread may call this.
    [[nodiscard]] std::uint16_t port() const { return port_; }

  private:
    void serve();
    void serve(Connection& connection);
    std::optional<std::string> answer(Connection& connection);

    const std::string token_;
    const Handler handle_;
    const ServerLimits limits_;
    std::mutex largeMessages_;  // held while one is being answered
    const Socket listener_;
    const std::uint16_t port_;
    Connections connections_;
};

}  // namespace tovra::http
