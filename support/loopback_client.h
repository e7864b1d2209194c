// A connection to a server on this machine, from a client that may misbehave. No wait is longer
// than 30 s. Not for several threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovra::support {

class LoopbackClient {
  public:
    // Connects to 127.0.0.1:`port`. Where nobody listens there, sending has no effect and nothing
    // is received. From now on the process ignores SIGPIPE, so a server that hangs up does not end
    // it.
    explicit LoopbackClient(std::uint16_t port);
    LoopbackClient(const LoopbackClient&) = delete;
    LoopbackClient& operator=(const LoopbackClient&) = delete;
    ~LoopbackClient();

    // Sends as much of it as the server takes before it hangs up.
    const LoopbackClient& send(std::string_view bytes) const;
    const LoopbackClient& endSending() const;

    // All that the server sends until it ends the connection. Nothing where it does not end it, or
    // resets it.
    [[nodiscard]] std::optional<std::string> receive() const;
    // Whether bytes or the end of them come within that many milliseconds.
    [[nodiscard]] bool answersWithin(int milliseconds) const;

    // Whether the server takes most of what was sent, or hangs up, within that many milliseconds.
    [[nodiscard]] bool takesWithin(int milliseconds) const;

    // The port of this end of the connection.
    [[nodiscard]] std::uint16_t port() const;

  private:
    int socket_;
};

// The port of 127.0.0.1 that a line names; 0 where it names none.
[[nodiscard]] std::uint16_t portNamedIn(std::string_view line);

}  // namespace tovra::support
