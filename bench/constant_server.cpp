// constant_server
//
// The least that a server of one request per connection can do: it reads a request's head, gives
// always the same answer and closes. Listens on a port of 127.0.0.1 that the system picks, names
// it on standard error, and ends when its standard input does.
#include <array>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace {

using Tcp = asio::ip::tcp;

constexpr std::string_view kAnswer =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 36\r\n"
    "Connection: close\r\n\r\n"
    R"({"jsonrpc":"2.0","id":1,"result":{}})";

class Connection : public std::enable_shared_from_this<Connection> {
  public:
    explicit Connection(Tcp::socket socket) : socket_(std::move(socket)) {}

    void start() {
        asio::async_read_until(socket_, asio::dynamic_buffer(request_), "\r\n\r\n",
                               [self = shared_from_this()](std::error_code error, std::size_t) {
                                   if (!error) self->answer();
                               });
    }

  private:
    void answer() {
        asio::async_write(socket_, asio::buffer(kAnswer),
                          [self = shared_from_this()](std::error_code, std::size_t) {
                              std::error_code ignored;
                              self->socket_.shutdown(Tcp::socket::shutdown_send, ignored);
                          });
    }

    Tcp::socket socket_;
    std::string request_;
};

void acceptNext(Tcp::acceptor& acceptor) {
    acceptor.async_accept([&acceptor](std::error_code error, Tcp::socket socket) {
        if (!error) std::make_shared<Connection>(std::move(socket))->start();
        acceptNext(acceptor);
    });
}

void serve() {
    asio::io_context io(1);
    Tcp::acceptor acceptor(io, Tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    std::cerr << "listening on 127.0.0.1:" << acceptor.local_endpoint().port() << std::endl;
    acceptNext(acceptor);

    constexpr int kStandardInput = 0;
    asio::posix::stream_descriptor input(io, kStandardInput);
    std::array<char, 1> byte{};
    input.async_read_some(asio::buffer(byte), [&](std::error_code, std::size_t) { io.stop(); });
    io.run();
}

}  // namespace

int main() {
    try {
        serve();
    } catch (const std::exception& error) {
        std::cerr << "constant_server: " << error.what() << std::endl;
        return 1;
    }
    return 0;
}
