#include "platform/tcp_server.h"

#include <array>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/thread_pool.hpp>
#include <asio/write.hpp>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace tovra {
namespace {

using Tcp = asio::ip::tcp;
using Clock = asio::steady_timer::clock_type;

constexpr std::size_t kChunkSize = std::size_t{16} * 1024;

// Counts the open connections, and tells when there is room for one again after there was none.
class Seats {
  public:
    struct Leave {
        void operator()(Seats* seats) const { seats->leave(); }
    };
    // Held by a connection; free again when the object goes.
    using Seat = std::unique_ptr<Seats, Leave>;

    Seats(std::size_t count, std::function<void()> onRoom)
        : free_(count), onRoom_(std::move(onRoom)) {}

    [[nodiscard]] bool full() const { return free_ == 0; }
    // REQUIRES: !full().
    Seat take() {
        --free_;
        return Seat(this);
    }
    // From now on nobody is told any more.
    void retire() { onRoom_ = nullptr; }

  private:
    void leave() {
        if (free_++ == 0 && onRoom_) onRoom_();
    }

    std::size_t free_;
    std::function<void()> onRoom_;
};

// One accepted connection. It lives as long as it has something to wait for: a read, a call, a
// write. Its timer alone does not keep it. All of it runs on the thread of the sockets, but for the
// call of its exchange.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(Tcp::socket socket, Seats::Seat seat, std::unique_ptr<Exchange> exchange,
               const TcpLimits& limits, asio::thread_pool& callers)
        : seat_(std::move(seat)),
          limits_(limits),
          callers_(callers),
          socket_(std::move(socket)),
          timer_(socket_.get_executor()),
          exchange_(std::move(exchange)) {}

    void start() {
        closeAfter(limits_.requestTime);
        readMore();
    }

  private:
    void readMore() {
        socket_.async_read_some(
            asio::buffer(chunk_),
            [self = shared_from_this()](const std::error_code& error, std::size_t size) {
                if (!error) self->received(size);
            });
    }

    void received(std::size_t size) {
        if (exchange_->receive({chunk_.data(), size}) == Exchange::Progress::needMore)
            return readMore();
        timer_.expires_at(Clock::time_point::max());
        asio::post(callers_, [self = shared_from_this()]() mutable { call(std::move(self)); });
    }

    // On a thread of the callers. The connection goes back to the thread of the sockets even when
    // the call fails, so that it always ends there.
    static void call(std::shared_ptr<Connection> self) {
        bool answered = false;
        try {
            self->answer_ = self->exchange_->answer();
            answered = true;
        } catch (const std::exception&) {
        }
        const auto sockets = self->socket_.get_executor();
        asio::post(sockets, [answered, self = std::move(self)] {
            if (answered) self->send();
        });
    }

    void send() {
        closeAfter(limits_.sendTime);
        asio::async_write(socket_, asio::buffer(answer_),
                          [self = shared_from_this()](const std::error_code& error, std::size_t) {
                              if (!error) self->sent();
                          });
    }

    // Closing now would cut the answer off where bytes of the client are still unread.
    void sent() {
        std::string().swap(answer_);
        exchange_.reset();
        std::error_code failed;
        if (socket_.shutdown(Tcp::socket::shutdown_send, failed)) return;
        closeAfter(limits_.drainTime);
        drain();
    }

    void drain() {
        socket_.async_read_some(
            asio::buffer(chunk_),
            [self = shared_from_this()](const std::error_code& error, std::size_t) {
                if (!error) self->drain();
            });
    }

    // Replaces the time that was set before. Closing ends what the connection waits for.
    void closeAfter(std::chrono::milliseconds time) {
        timer_.expires_after(time);
        timer_.async_wait([weak = weak_from_this()](const std::error_code& error) {
            const std::shared_ptr<Connection> self = weak.lock();
            // It may have been too late to take this callback back when a new time was set.
            if (error || !self || self->timer_.expiry() > Clock::now()) return;
            std::error_code ignored;
            self->socket_.close(ignored);
        });
    }

    Seats::Seat seat_;
    const TcpLimits& limits_;
    asio::thread_pool& callers_;
    Tcp::socket socket_;
    asio::steady_timer timer_;
    std::unique_ptr<Exchange> exchange_;
    std::string answer_;
    std::array<char, kChunkSize> chunk_;
};

}  // namespace

// One thread does everything with sockets, which is quick; the calls, which may not be, have
// threads of their own.
class TcpServer::Implementation {
  public:
    Implementation(std::uint16_t port, const TcpLimits& limits, ExchangeFactory newExchange)
        : limits_(limits),
          newExchange_(std::move(newExchange)),
          seats_(limits.connections, [this] { acceptNext(); }),
          io_(1),
          // The address may be in use by connections that are still fading away, not by a listener.
          acceptor_(io_, Tcp::endpoint(asio::ip::address_v4::loopback(), port),
                    /*reuse_addr=*/true),
          pause_(io_),
          callers_(limits.calls) {
        acceptNext();
        thread_ = std::thread([this] { serve(); });
    }

    ~Implementation() {
        stop();
        thread_.join();
        callers_.join();
        seats_.retire();
    }

    [[nodiscard]] std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

    void stop() {
        io_.stop();
        callers_.stop();
    }

  private:
    void serve() {
        while (!io_.stopped()) {
            try {
                io_.run();
            } catch (const std::exception&) {
                // Whatever the callback held is gone, its connection too; the others go on.
            }
        }
    }

    // Goes on when a connection ends, where there is no seat for another one.
    void acceptNext() {
        if (seats_.full()) return;
        acceptor_.async_accept([this](const std::error_code& error, Tcp::socket socket) {
            if (error) return acceptLater();
            Seats::Seat seat = seats_.take();
            acceptNext();
            handleConnection(std::move(socket), std::move(seat));
        });
    }

    // What keeps a connection from being accepted, like a lack of descriptors, needs time to pass.
    void acceptLater() {
        pause_.expires_after(limits_.acceptPause);
        pause_.async_wait([this](const std::error_code& error) {
            if (!error) acceptNext();
        });
    }

    void handleConnection(Tcp::socket socket, Seats::Seat seat) {
        std::make_shared<Connection>(std::move(socket), std::move(seat), newExchange_(), limits_,
                                     callers_)
            ->start();
    }

    const TcpLimits limits_;
    const ExchangeFactory newExchange_;
    Seats seats_;
    asio::io_context io_;
    Tcp::acceptor acceptor_;
    asio::steady_timer pause_;
    asio::thread_pool callers_;
    std::thread thread_;
};

TcpServer::TcpServer(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

TcpServer::~TcpServer() = default;

std::unique_ptr<TcpServer> TcpServer::listen(std::uint16_t port, const TcpLimits& limits,
                                             ExchangeFactory newExchange) {
    try {
        return std::make_unique<TcpServer>(
            std::make_unique<Implementation>(port, limits, std::move(newExchange)));
    } catch (const std::system_error&) {
        return nullptr;
    }
}

std::uint16_t TcpServer::port() const { return implementation_->port(); }

void TcpServer::stop() { implementation_->stop(); }

}  // namespace tovra
