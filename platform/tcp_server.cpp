#include "platform/tcp_server.h"

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <asio/basic_socket_acceptor.hpp>
#include <asio/basic_stream_socket.hpp>
#include <asio/basic_waitable_timer.hpp>
#include <asio/buffer.hpp>
#include <asio/dispatch.hpp>
#include <asio/error.hpp>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>
#include <asio/write.hpp>
#include <atomic>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace tovra {
namespace {

using Tcp = asio::ip::tcp;
using Clock = std::chrono::steady_clock;
// The callbacks of one strand run one after another, on whatever threads.
using Strand = asio::strand<asio::io_context::executor_type>;
using Socket = asio::basic_stream_socket<Tcp, Strand>;
using Acceptor = asio::basic_socket_acceptor<Tcp, Strand>;
using Timer = asio::basic_waitable_timer<Clock, asio::wait_traits<Clock>, Strand>;

constexpr std::size_t kChunkSize = std::size_t{16} * 1024;

// A bounded number of seats, for several threads.
class Seats {
  public:
    struct Leave {
        void operator()(Seats* seats) const { seats->leave(); }
    };
    // Held by a connection; the seat is free again when the object goes.
    using Seat = std::unique_ptr<Seats, Leave>;

    // `onFree` is called when a seat has become free that somebody was refused before, by whoever
    // leaves it.
    Seats(std::size_t count, std::function<void()> onFree)
        : free_(count), onFree_(std::move(onFree)) {}

    // Nothing while all are taken.
    Seat take() {
        const std::lock_guard lock(mutex_);
        awaited_ = free_ == 0;
        if (awaited_) return nullptr;
        --free_;
        return Seat(this);
    }

    // From now on nobody is called.
    void retire() { onFree_ = nullptr; }

  private:
    void leave() {
        {
            const std::lock_guard lock(mutex_);
            ++free_;
            if (!std::exchange(awaited_, false)) return;
        }
        if (onFree_) onFree_();
    }

    std::mutex mutex_;
    std::size_t free_;
    bool awaited_ = false;
    std::function<void()> onFree_;
};

// The threads of one server. Two of them serve the sockets. A call is made by the one that read the
// request, which is the quickest way for the usual, short one; while it lasts the other one serves
// on, and hands further calls to the callers, which do nothing else.
class Threads {
  public:
    struct End {
        void operator()(std::atomic_flag* calling) const { calling->clear(); }
    };
    // The permission to make a call on a serving thread.
    using Turn = std::unique_ptr<std::atomic_flag, End>;

    explicit Threads(std::size_t callers) : callers_(callers) {}
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;
    ~Threads() { join(); }

    void start() {
        try {
            while (serving_.size() < 2) serving_.emplace_back([this] { serve(); });
        } catch (const std::system_error&) {
            join();
            throw;
        }
    }

    void stop() {
        io_.stop();
        callers_.stop();
    }

    // Stops, and waits for the calls that are running.
    void join() {
        stop();
        for (std::thread& thread : serving_) thread.join();
        serving_.clear();
        callers_.join();
    }

    asio::io_context& io() { return io_; }
    asio::thread_pool& callers() { return callers_; }

    // Nothing while another serving thread is making a call.
    Turn takeTurn() { return Turn(calling_.test_and_set() ? nullptr : &calling_); }

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

    asio::io_context io_{2};
    // Not to return from run() when for once there is nothing to wait for.
    asio::executor_work_guard<asio::io_context::executor_type> work_{io_.get_executor()};
    asio::thread_pool callers_;
    std::atomic_flag calling_ = ATOMIC_FLAG_INIT;
    std::vector<std::thread> serving_;
};

// One accepted connection. It lives as long as it has something to wait for: a read, a call, a
// write. Its timer alone does not keep it. All of it but the call runs in the strand of its socket.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(Socket socket, Seats::Seat seat, std::unique_ptr<Exchange> exchange,
               const TcpLimits& limits, Threads& threads)
        : seat_(std::move(seat)),
          limits_(limits),
          threads_(threads),
          socket_(std::move(socket)),
          timer_(socket_.get_executor()),
          exchange_(std::move(exchange)) {}

    void start() {
        asio::dispatch(socket_.get_executor(), [self = shared_from_this()] {
            std::error_code failed;
            if (self->socket_.non_blocking(true, failed)) return;
            self->closeAfter(self->limits_.requestTime);
            self->watchDeadline();
            self->readMore();
        });
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
        if (exchange_->receive({chunk_.data(), size}) == Exchange::Progress::needMore) {
            return readMore();
        }
        deadline_ = Clock::time_point::max();
        if (Threads::Turn turn = threads_.takeTurn()) {
            call();
            turn.reset();
            return send();
        }
        asio::post(threads_.callers(), [self = shared_from_this()] {
            self->call();
            asio::post(self->socket_.get_executor(), [self] { self->send(); });
        });
    }

    void call() {
        try {
            answer_ = exchange_->answer();
        } catch (const std::exception&) {
            answer_.clear();
        }
    }

    // An answer is usually gone at once; a long one waits for its client to take the rest.
    void send() {
        if (answer_.empty()) return;
        std::error_code failed;
        const std::size_t size = socket_.write_some(asio::buffer(answer_), failed);
        if (failed && failed != asio::error::would_block) return;
        if (size == answer_.size()) return sent();
        closeAfter(limits_.sendTime);
        asio::async_write(socket_, asio::buffer(answer_) + size,
                          [self = shared_from_this()](const std::error_code& error, std::size_t) {
                              if (!error) self->sent();
                          });
    }

    // Closing now would cut the answer off where bytes of the client are still unread.
    void sent() {
        std::string().swap(answer_);
        exchange_.reset();
        std::error_code failed;
        if (socket_.shutdown(Socket::shutdown_send, failed)) return;
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

    void closeAfter(std::chrono::milliseconds time) { deadline_ = Clock::now() + time; }

    // Looks at the deadline now and then: to move the timer with it would cost more than all the
    // rest of a short request. Closing ends whatever the connection waits for.
    void watchDeadline() {
        timer_.expires_after(limits_.tick);
        timer_.async_wait([weak = weak_from_this()](const std::error_code& error) {
            const std::shared_ptr<Connection> self = weak.lock();
            if (error || !self) return;
            if (Clock::now() < self->deadline_) return self->watchDeadline();
            std::error_code ignored;
            self->socket_.close(ignored);
        });
    }

    Seats::Seat seat_;
    const TcpLimits& limits_;
    Threads& threads_;
    Socket socket_;
    Timer timer_;
    Clock::time_point deadline_;
    std::unique_ptr<Exchange> exchange_;
    std::string answer_;
    std::array<char, kChunkSize> chunk_;
};

// How many connections may be open at once, so that there are always descriptors left for what the
// answers need: files, locks, the time zone. A low limit of the process is raised first.
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

}  // namespace

// The listening side.
class TcpServer::Implementation {
  public:
    Implementation(std::uint16_t port, const TcpLimits& limits, ExchangeFactory newExchange)
        : limits_(limits),
          newExchange_(std::move(newExchange)),
          seats_(seatsFor(limits.connections), [this] { resume(); }),
          threads_(limits.callers),
          // The address may be in use by connections that are still fading away, not by a listener.
          acceptor_(asio::make_strand(threads_.io()),
                    Tcp::endpoint(asio::ip::address_v4::loopback(), port), /*reuse_addr=*/true),
          pause_(acceptor_.get_executor()) {
        acceptNext();
        threads_.start();
    }

    ~Implementation() {
        threads_.join();
        seats_.retire();
    }

    [[nodiscard]] std::uint16_t port() const { return acceptor_.local_endpoint().port(); }
    void stop() { threads_.stop(); }

  private:
    // Does nothing while there is no seat; goes on when one becomes free.
    void acceptNext() {
        Seats::Seat seat = seats_.take();
        if (!seat) return;
        acceptor_.async_accept(
            asio::make_strand(threads_.io()),
            [this, seat = std::move(seat)](const std::error_code& error, Socket socket) mutable {
                if (error) return acceptLater();
                acceptNext();
                handleConnection(std::move(socket), std::move(seat));
            });
    }

    void resume() {
        asio::post(acceptor_.get_executor(), [this] { acceptNext(); });
    }

    // What keeps a connection from being accepted, like a lack of descriptors, needs time to pass.
    void acceptLater() {
        pause_.expires_after(limits_.acceptPause);
        pause_.async_wait([this](const std::error_code& error) {
            if (!error) acceptNext();
        });
    }

    void handleConnection(Socket socket, Seats::Seat seat) {
        std::make_shared<Connection>(std::move(socket), std::move(seat), newExchange_(), limits_,
                                     threads_)
            ->start();
    }

    const TcpLimits limits_;
    const ExchangeFactory newExchange_;
    Seats seats_;
    Threads threads_;
    Acceptor acceptor_;
    Timer pause_;
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
