// A TCP server for protocols of one request and one answer per connection.
//
// It knows sockets, threads and time. The protocol above knows what the bytes mean, and hands in an
// Exchange for each connection. A connection is read until the request is whole, is sent the
// answer, and is closed. One that ends, fails or takes too long before that is closed unanswered.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tovra {

// One request and its answer, kept until the answer is made or given up. The calls come one after
// another, though from different threads. A std::exception that one throws, for instance when
// memory runs out, ends the connection unanswered.
class Exchange {
  public:
    Exchange() = default;
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    virtual ~Exchange() = default;

    // Is given all bytes received so far, each time from the first one. True once they hold the
    // whole request; what else the client sends is thrown away. Must be quick.
    virtual bool isWhole(std::string_view received) = 0;
    // The most bytes that the request can have, as far as is known yet. Until the request is whole
    // that is more than were received.
    [[nodiscard]] virtual std::size_t expectedSize() const = 0;
    // Makes the answer. Called at most once, when the request is whole. Nothing is sent where it is
    // empty. May take long: no other connection waits for it.
    virtual std::string answer(std::string_view received) = 0;
};

// Is told the port that the server listens on.
using ExchangeFactory = std::function<std::unique_ptr<Exchange>(std::uint16_t port)>;

// Where connections or bytes run out, the connection that has kept the server waiting longest is
// closed. While threads work on all others, the one that needs room waits.
struct TcpLimits {
    std::size_t connections = 256;  // open at once, descriptors allowing
    // What requests and unread answers of more than 16 KiB may take together. A request that needs
    // more by itself ends its connection unanswered.
    std::size_t bytes = std::size_t{64} * 1024 * 1024;
    // The next three are looked at once a tick, so a connection may last that much longer.
    std::chrono::milliseconds requestTime{30'000};  // from the acceptance to the whole request
    std::chrono::milliseconds sendTime{30'000};     // for the client to take the answer
    std::chrono::milliseconds drainTime{750};       // for the client to end its side after that
    // How often time is looked at. After a failure, accepting pauses for at most as long.
    std::chrono::milliseconds tick{250};
};

// A running server. Any thread may call its functions, except those that call exchanges.
class TcpServer {
  public:
    // Listens on 127.0.0.1:`port` (0: a port that the system picks) and serves until it is stopped.
    // Nothing comes back where that fails, for instance because the port is taken or no thread can
    // be started. `newExchange` may be called from several threads.
    //
    // From then on the process ignores SIGPIPE.
    [[nodiscard]] static std::unique_ptr<TcpServer> listen(std::uint16_t port,
                                                           const TcpLimits& limits,
                                                           ExchangeFactory newExchange);
    class Implementation;
    explicit TcpServer(std::unique_ptr<Implementation> implementation);
    TcpServer(const TcpServer&) = delete;
    TcpServer& operator=(const TcpServer&) = delete;
    // Stops, waits for the calls that are running and closes every connection.
    ~TcpServer();

    [[nodiscard]] std::uint16_t port() const;
    // From now on no call of an exchange begins, and nothing is read or sent. Returns at once;
    // calls that are running go on.
    void stop();

  private:
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace tovra
