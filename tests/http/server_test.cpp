#include "http/server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <deque>
#include <filesystem>
#include <future>
#include <tuple>

#include "support/loopback_client.h"

namespace tovra::http {
namespace {

using Client = support::LoopbackClient;
using namespace std::chrono_literals;

// A call of the method, with a body of that many bytes.
std::string call(const std::string& method, std::size_t size = 30) {
    std::string body = R"({"method":")" + method + "\"}";
    body.resize(size, ' ');
    return "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n" + body;
}

// A request with a body of that many bytes, at which nobody looks.
std::string upload(std::size_t size) {
    return "GET / HTTP/1.1\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n" +
           std::string(size, ' ');
}

const std::string kPing = call("ping");
const std::string kPong = httpResponse("200 OK", "application/json", "ping");
const std::string kWaited = httpResponse("200 OK", "application/json", "wait");
const std::string kUploaded =
    httpResponse("405 Method Not Allowed", "text/plain", "POST JSON-RPC to this endpoint.");
const std::string kBadRequest = httpResponse("400 Bad Request", std::nullopt, "");

// Whether it comes true within half a minute.
template <typename Condition>
bool becomesTrue(Condition condition) {
    for (int i = 0; i < 6000 && !condition(); ++i) ::usleep(5000);
    return condition();
}

// The server's descriptor of the connection to that client; negative where it has none.
int serverEnd(const Client& client) {
    for (int descriptor = 0; descriptor < 1000; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        const bool isSocket =
            ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
        if (isSocket && ntohs(peer.sin_port) == client.port()) return descriptor;
    }
    return -1;
}

// Returns when the server has taken all that the client has sent.
void settle(const Client& client) {
    int quiet = 0;
    EXPECT_TRUE(becomesTrue([&] {
        int unread = 1;
        ::ioctl(serverEnd(client), FIONREAD, &unread);
        quiet = unread == 0 ? quiet + 1 : 0;
        return quiet > 4;
    }));
}

// A server that answers with the message's "method", to "much" at length; for "wait" it waits for
// the test to let it go on, for "exhaust" it finds no memory. It holds 10 MB.
class ServerTest : public testing::Test {
  protected:
    void listen(ServerLimits limits, std::uint16_t port = 0) {
        std::signal(SIGPIPE, SIG_IGN);
        if (limits.bytes == ServerLimits().bytes) limits.bytes = 10'000'000;
        server_.emplace(
            port, "",
            [this](json::Value message) {
                std::string method(message.member("method").string().value_or(""));
                if (method == "wait") ++waiting_, mayGo_.wait_for(1min);
                if (method == "exhaust") throw std::bad_alloc();
                if (method == "much") method.resize(8'000'000, 'm');
                return std::optional(method);
            },
            limits);
    }
    void SetUp() override { listen({}); }

    auto ask(const std::string& request) const {
        return Client(server_->port()).send(request).receive();
    }
    // Clients that have sent this, one after the other.
    std::deque<Client> connect(const std::vector<std::string>& requests) const {
        std::deque<Client> clients;
        for (const std::string& request : requests) {
            settle(clients.emplace_back(server_->port()).send(request));
        }
        return clients;
    }
    // Which of the clients the server still serves. A connection that it has ended is gone soon.
    static void expectOpen(const std::deque<Client>& clients, const std::string& expected,
                           const char* why) {
        std::string text;
        becomesTrue([&] {
            text.clear();
            for (const Client& client : clients) text += serverEnd(client) < 0 ? '-' : '+';
            return text == expected;
        });
        EXPECT_EQ(text, expected) << why;
    }

    std::atomic<int> waiting_ = 0;
    std::promise<void> go_;
    const std::shared_future<void> mayGo_ = go_.get_future().share();
    std::optional<Server> server_;
};

TEST_F(ServerTest, HasTheLimitsThatAreDocumented) {
    const ServerLimits limits;
    EXPECT_EQ(limits.connections, 256U);
    EXPECT_EQ(limits.bytes, std::size_t{64} << 20);
    EXPECT_EQ(limits.requestTime, 30s);
    EXPECT_EQ(limits.sendTime, 30s);
    EXPECT_EQ(limits.drainTime, 1s);
    EXPECT_EQ(ask("\r\n" + std::string(65'530, 'x') + "\r\n\r\n").value_or("").substr(9, 3), "405");
    EXPECT_EQ(ask(std::string(65'540, 'x')), kBadRequest);
    listen({.bytes = std::size_t{16} << 20});
    const std::size_t head = upload(0).size() + 7;  // with eight digits in place of one
    EXPECT_EQ(ask(upload((16 << 20) - head)), kUploaded);
    EXPECT_EQ(ask(upload((16 << 20) - head + 1)).value_or(kBadRequest), kBadRequest);
}

TEST_F(ServerTest, AnswersHoweverTheRequestComesWhileOthersTakeLong) {
    std::deque<Client> slow;
    for (int i = 0; i < 60; ++i) slow.emplace_back(server_->port()).send(call("wait"));
    EXPECT_EQ(ask(kPing), kPong);
    EXPECT_EQ(ask(upload(9'000'000)), kUploaded);
    EXPECT_EQ(ask(kPing + upload(9'000'000)), kPong);
    const Client bytewise(server_->port());
    for (const char& byte : kPing) bytewise.send({&byte, 1});
    EXPECT_EQ(bytewise.endSending().receive(), kPong);
    EXPECT_EQ(Client(server_->port()).send(upload(999).substr(0, 99)).endSending().receive(), "");
    EXPECT_EQ(ask(call("exhaust")), "");
    for (const Client& client : slow) EXPECT_FALSE(client.answersWithin(0));
    go_.set_value();
    for (const Client& client : slow) EXPECT_EQ(client.receive(), kWaited);

    slow.clear();
    const std::filesystem::path threads("/proc/self/task");
    const auto areFew = [&] {
        return !exists(threads) ||
               std::distance(std::filesystem::directory_iterator(threads), {}) < 40;
    };
    EXPECT_TRUE(becomesTrue(areFew)) << "threads that have nothing to do";
}

TEST_F(ServerTest, AnswersLargeMessagesOneAtATime) {
    std::deque<Client> clients;
    for (const std::size_t size : {65'537, 65'537, 65'536, 65'536, 30}) {
        clients.emplace_back(server_->port()).send(call("wait", size));
    }
    EXPECT_TRUE(becomesTrue([&] { return waiting_ == 4; }));
    ::usleep(50'000);
    EXPECT_EQ(waiting_, 4);
    go_.set_value();
    for (const Client& client : clients) EXPECT_EQ(client.receive(), kWaited);
}

TEST_F(ServerTest, ClosesTheOneThatHoldsBytesForLongestWhenBytesRunOut) {
    listen({.requestTime = 5min, .sendTime = 5min});
    const std::string large = upload(4'500'000), most = large.substr(0, 4'300'000);
    {
        const auto clients = connect({"P", most, most, "P"});
        EXPECT_EQ(ask(upload(2'000'000)), kUploaded);
        expectOpen(clients, "+-++", "the longer one of those that hold any");
        EXPECT_EQ(clients[2].send(large.substr(most.size())).receive(), kUploaded);
    }
    {
        const auto clients = connect({most, most, "P"});
        settle(clients[0].send(" "));
        EXPECT_EQ(ask(upload(2'000'000)), kUploaded);
        expectOpen(clients, "+-+", "a byte begins the wait anew");
    }
    {
        const auto clients = connect({"P", call("much")});
        // Until the answer waits for its reader, others have room beside it.
        EXPECT_TRUE(becomesTrue([&] {
            std::ignore = ask(upload(4'000'000));
            return serverEnd(clients[1]) < 0;
        }));
        expectOpen(clients, "+-", "an answer that nobody reads counts");
    }
    {
        const std::string half = upload(1'000'000).substr(0, 900'000);
        const auto clients = connect({std::string(16'000, 'x'), most, half, call("much"), "P"});
        expectOpen(clients, "+-+++", "also for an answer");
    }
    listen({.bytes = 100'000});
    const std::string counts(17'000, 'x'), doesNot(16'000, 'x');
    expectOpen(connect({doesNot, counts, counts, counts, doesNot, counts, doesNot}), "+-+++++",
               "from 16 KiB on");
}

TEST_F(ServerTest, LetsWaitForBytesThatOthersWorkOn) {
    listen({.bytes = 500'000, .drainTime = 5min});
    const auto clients =
        connect({call("wait", 300'000), call("ping", 100'000), std::string(20'000, 'x')});
    const Client waiting(server_->port());
    waiting.send(upload(200'000));
    EXPECT_FALSE(waiting.answersWithin(200)) << "what is worked on stays";
    expectOpen(clients, "+++", "and nobody is closed in vain");
    EXPECT_EQ(ask(kPing), kPong) << "which hinders no ordinary request";
    go_.set_value();
    EXPECT_EQ(waiting.receive(), kUploaded);
    EXPECT_EQ(clients[0].receive(), kWaited);
    EXPECT_EQ(clients[1].receive(), kPong);
    expectOpen(clients, "+++", "and what is answered holds nothing");
}

TEST_F(ServerTest, ClosesTheOneThatWaitsForLongestWhenConnectionsRunOut) {
    listen({.connections = 3});
    const auto clients = connect({call("wait"), "P", kPing.substr(0, 1)});
    for (std::size_t i = 1; i < 20; ++i) {
        settle(clients[2].send(kPing.substr(i, 1)));
        EXPECT_EQ(ask(kPing), kPong) << i;
    }
    expectOpen(clients, "+-+", "none that is worked on, and no slow one");
    EXPECT_EQ(clients[2].send(kPing.substr(20)).receive(), kPong);
    go_.set_value();
    EXPECT_EQ(clients[0].receive(), kWaited);
}

TEST_F(ServerTest, ServesWithASingleThread) {
    listen({.connections = 0, .requestTime = 2min, .sendTime = 2min, .drainTime = 2min});
    for (const std::string& request : {std::string("P"), call("much"), kPing}) {
        const Client idle(server_->port());
        idle.send(request);
        EXPECT_EQ(ask(kPing), kPong) << "beside " << request;
    }
}

TEST_F(ServerTest, AnswersBesideAnyNumberOfIdleConnections) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::deque<Client> idle;
    for (const std::size_t count : {250U, 270U, 1000U, 5000U}) {
        if (count + 1000 > limit.rlim_max) break;
        while (idle.size() < count) idle.emplace_back(server_->port()).send("P");
        EXPECT_EQ(ask(kPing), kPong) << count;
        const auto closed = std::count_if(
            idle.begin(), idle.end(), [](const Client& client) { return client.answersWithin(0); });
        const long expected = std::max(0L, static_cast<long>(count) - 256);
        EXPECT_GE(closed, expected);
        EXPECT_LE(closed, expected == 0 ? 0 : expected + 5);
    }
}

TEST_F(ServerTest, WaitsForItsClientsAsLongAsItSaysAndNoLonger) {
    listen({.bytes = 100'000, .requestTime = 500ms, .sendTime = 800ms, .drainTime = 1100ms});
    const auto working = connect({call("wait", 90'000)});
    const std::tuple<const char*, std::string, std::chrono::milliseconds> rows[] = {
        {"drips", "x", 500ms},
        {"waits for room", upload(50'000), 500ms},
        {"takes no answer", call("much"), 800ms},
        {"ends nothing", kPing, 1100ms}};
    for (const auto& [what, request, time] : rows) {
        const auto begin = std::chrono::steady_clock::now();
        const Client client(server_->port());
        client.send(request);
        EXPECT_TRUE(becomesTrue([&] {
            if (request == "x") client.send("x");
            return client.answersWithin(0);
        })) << what;
        EXPECT_TRUE(becomesTrue([&] {
            client.send("x");
            return serverEnd(client) < 0;
        })) << what;
        EXPECT_GE(std::chrono::steady_clock::now() - begin, time) << what;
    }
    expectOpen(working, "+", "a call may take longer than a request");
    go_.set_value();
    EXPECT_EQ(working[0].receive(), kWaited);
}

TEST_F(ServerTest, ListensOnThisMachineAloneAndAgainAtOnce) {
    const std::uint16_t port = server_->port();
    sockaddr_in other{};
    other.sin_family = AF_INET;
    other.sin_port = htons(port);
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    const Socket client(::socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_NE(::connect(client.get(), reinterpret_cast<const sockaddr*>(&other), sizeof other), 0);

    EXPECT_EQ(ask(kPing), kPong);  // the system remembers connections that the server ended first
    server_.reset();
    EXPECT_NO_THROW(listen({}, port));
}

TEST_F(ServerTest, EndsAConnectionEvenIfSomethingElseRefersToItsSocket) {
    for (const bool closes : {true, false}) {
        const Client client(server_->port());
        settle(client.send(closes ? "P" : kPing));
        const int other = ::fcntl(serverEnd(client), F_DUPFD, 0);
        if (closes) client.endSending();
        EXPECT_EQ(client.receive(), closes ? "" : kPong);
        ::close(other);
    }
}

// The next server raises the limit again.
TEST_F(ServerTest, OutlivesALackOfDescriptorsAndCausesNone) {
    const auto idle = connect({"P"});
    const rlimit few{.rlim_cur = 64, .rlim_max = 256}, more{.rlim_cur = 256, .rlim_max = 256};
    ::setrlimit(RLIMIT_NOFILE, &few);
    for (int taken = 0; taken != -1;) taken = ::dup(0);
    ::close(63);
    const Client last(server_->port());
    settle(last.send("P"));
    const std::clock_t worked = std::clock();
    ::usleep(500'000);
    EXPECT_LT(std::clock() - worked, CLOCKS_PER_SEC / 20) << "spins";
    EXPECT_EQ(::dup(0), -1);
    ::setrlimit(RLIMIT_NOFILE, &more);
    EXPECT_EQ(ask(kPing), kPong);
    expectOpen(idle, "+", "no reason to close anybody");

    std::future<void> clients[8];
    for (std::future<void>& each : clients) {
        each = std::async(std::launch::async, [this] {
            for (int i = 0; i < 50; ++i) EXPECT_EQ(ask(kPing), kPong);
        });
    }
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(Client(server_->port()).send("POST").endSending().receive(), "");
    }
}

}  // namespace
}  // namespace tovra::http
