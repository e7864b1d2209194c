// The connections of a server and the threads that serve them: one thread a connection, from its
// first byte to its last. Threads are bounded in number, and so are the bytes that all connections
// hold together. Where either runs out, one rule decides: the connection that has kept the server
// waiting longest is ended for the newcomer. Its wait began when it last took or gave a byte.
//
// Nothing here allocates once the connections exist, but for starting threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string_view>
#include <vector>

namespace tovra::http {

// Owns a socket, or none. It is shut down before it is closed: closing alone does not end a
// connection while anything else in the system still refers to the socket.
class Socket {
  public:
    // A negative number is none.
    explicit Socket(int descriptor) : descriptor_(descriptor) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket();

    [[nodiscard]] int get() const { return descriptor_; }

  private:
    const int descriptor_;
};

class Connection;

// May be called from several threads.
class Connections {
  public:
    // So many are open at once, while one more thread waits for the next. `serve` is what each
    // thread does.
    Connections(std::size_t most, std::size_t mostBytes, std::function<void()> serve);

    // Starts the first thread. False where the system has none to give.
    [[nodiscard]] bool start();
    // Whether the calling thread is to wait for the next connection. Otherwise it has to end, and
    // may touch nothing of the server any more.
    [[nodiscard]] bool mayAccept();
    // Ends all connections, and the threads as they come back. Returns how many of them may be
    // waiting for a connection, and need one to come back.
    [[nodiscard]] std::size_t stop();
    // Returns when no thread is left. REQUIRES: stop() was called.
    void join();

  private:
    friend class Connection;
    using Clock = std::chrono::steady_clock;
    enum class Which { holdingBytes, all };

    bool startThread(std::unique_lock<std::mutex>& lock);
    void end(Connection& connection);
    void endLongestWaiting(const Connection& newcomer, Which which);
    bool makeRoom(const Connection& newcomer, std::size_t bytes);

    const std::size_t mostThreads_;
    const std::size_t mostBytes_;
    const std::function<void()> serve_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Connection*> connections_;
    std::size_t threads_ = 0;
    // Those that wait for a connection, or will at once: the thread of a connection that was ended
    // counts from that moment on.
    std::size_t idle_ = 0;
    bool isStopped_ = false;
};

// An accepted connection. It lives on the stack of the thread that serves it, which alone uses and
// closes its socket; others may end it, which shuts the socket down. At each moment it waits, for
// its client or for room, or it is at work.
class Connection {
  public:
    // Waits for its client, in all at most for `time`. Where no thread is left to accept, another
    // is started, or the connection that waits longest is ended.
    Connection(Connections& all, int socket, std::chrono::milliseconds time);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // Receives some bytes, at least one. 0 where no more can come: the client has ended its side,
    // the time is over or the connection was ended.
    [[nodiscard]] std::size_t receive(char* into, std::size_t room);
    // Sends all bytes. False where the connection has failed, the time is over or it was ended.
    // What the client does not take at once counts among the bytes held, even beyond their bound.
    [[nodiscard]] bool send(std::string_view bytes);
    // Tells the client that nothing else will be sent.
    void endSending();
    // For a connection that gets no answer: if it was ended, closing it resets it. Otherwise the
    // client might go on sending for a minute, since no more room is announced to it.
    void giveUp();

    // Waits until there is room for so many bytes of a request, and counts them; up to 16 KiB count
    // as nothing. False where the time is over or the connection was ended.
    // REQUIRES: all connections together may hold as much.
    [[nodiscard]] bool awaitRoom(std::size_t bytes);
    // From now on it is at work, and nobody ends it. False where somebody has.
    [[nodiscard]] bool beginWork();
    // From now on it waits for its client, at most for `time`, and holds no bytes.
    void beginWait(std::chrono::milliseconds time);

  private:
    friend class Connections;
    using Clock = Connections::Clock;

    void wait(std::chrono::milliseconds time);
    [[nodiscard]] bool awaitReadiness(short event);

    Connections& all_;
    const Socket socket_;
    Clock::time_point waitsSince_ = Clock::now();
    Clock::time_point deadline_;
    bool isAtWork_ = false;
    bool isEnded_ = false;
    std::size_t held_ = 0;
};

}  // namespace tovra::http
