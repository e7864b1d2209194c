#include "http/exchange.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <ctime>
#include <deque>
#include <future>

#include "support/loopback_client.h"

namespace tovra::http {
namespace {

using Client = support::LoopbackClient;
using namespace std::chrono_literals;

// A call of the method, followed by that many spaces.
std::string call(const std::string& method, std::size_t spaces = 0) {
    const std::string body = R"({"method":")" + method + "\"}" + std::string(spaces, ' ');
    return "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kPing = call("ping");
const std::string kLargePing = call("ping", 3'000'000);
const std::string kPong = httpResponse("200 OK", "application/json", "ping");
const std::string kBadRequest = httpResponse("400 Bad Request", std::nullopt, "");

// A server that answers with the message's "method", to "much" at length; for "wait" it waits for
// the test to let it go on, for "exhaust" it finds no memory. It holds 4 MB.
class ServerTest : public testing::Test {
  protected:
    std::unique_ptr<TcpServer> listen(TcpLimits limits) {
        const Handler handler = [this](json::Value message) {
            std::string method(message.member("method").string().value_or(""));
            if (method == "wait") mayGo_.wait_for(1min);
            if (method == "exhaust") throw std::bad_alloc();
            if (method == "much") method.resize(8'000'000, 'm');
            return std::optional(method);
        };
        limits.bytes = 4'000'000;
        return TcpServer::listen(0, limits, requestExchanges("", handler));
    }
    Client connect() const { return Client(server_->port()); }
    auto ask(const std::string& request) const { return connect().send(request).receive(); }

    std::promise<void> go_;
    const std::shared_future<void> mayGo_ = go_.get_future().share();
    std::unique_ptr<TcpServer> server_ = listen({});
};

TEST_F(ServerTest, AnswersHoweverTheRequestComesWhileOthersTakeLong) {
    std::deque<Client> slow;
    for (int i = 0; i < 40; ++i) slow.emplace_back(server_->port()).send(call("wait"));
    for (const std::string& request : {kPing, kLargePing, kPing + kLargePing}) {
        EXPECT_EQ(ask(request), kPong) << request.size() << " bytes";
    }
    const Client bytewise = connect();
    for (const char& byte : kPing) bytewise.send({&byte, 1});
    EXPECT_EQ(bytewise.endSending().receive(), kPong);
    EXPECT_EQ(connect().send(kLargePing.substr(0, 99)).endSending().receive(), "");
    EXPECT_EQ(ask(call("exhaust")), "");
    EXPECT_EQ(ask(std::string(70'000, 'x')), kBadRequest);
    EXPECT_EQ(ask("POST / HTTP/1.1\r\nContent-Length: 16777216\r\n\r\n"), kBadRequest);
    for (const Client& client : slow) EXPECT_FALSE(client.answersWithin(0));
    go_.set_value();
    for (const Client& client : slow) EXPECT_TRUE(client.receive().value_or("").ends_with("wait"));
}

TEST_F(ServerTest, ClosesTheOneThatHoldsBytesForLongestWhenBytesRunOut) {
    EXPECT_EQ(ask(call("ping", 5'000'000)).value_or(""), "") << "alone too large";
    const Client unread = connect(), half = connect(), idle = connect();
    EXPECT_TRUE(unread.send(call("much")).answersWithin(30'000));
    half.send(kLargePing.substr(0, 2'900'000));
    ::usleep(200'000);
    EXPECT_EQ(ask(kLargePing), kPong);
    EXPECT_LT(unread.receive().value_or("").size(), 8'000'000U) << "makes room, as nobody reads it";
    EXPECT_EQ(half.receive().value_or(""), "") << "and so does half a request";
    EXPECT_EQ(idle.send(kPing).receive(), kPong) << "but nobody who holds nothing";

    const Client working = connect(), waiting = connect();
    working.send(call("wait", 3'000'000));
    ::usleep(200'000);
    EXPECT_FALSE(waiting.send(kLargePing).answersWithin(100)) << "what is worked on stays";
    EXPECT_EQ(ask(kPing), kPong) << "which hinders no ordinary request";
    go_.set_value();
    EXPECT_EQ(waiting.receive(), kPong);
    EXPECT_TRUE(working.receive().value_or("").ends_with("wait"));
}

TEST_F(ServerTest, ClosesTheOneThatWaitsForLongestWhenSeatsRunOut) {
    server_ = listen({.connections = 3});
    const Client idle = connect(), alive = connect(), working = connect();
    working.send(call("wait"));
    for (int i = 0; i < 20; ++i) {
        alive.send(kPing.substr(static_cast<std::size_t>(i), 1));
        ::usleep(1000);
        EXPECT_EQ(ask(kPing), kPong) << i;
    }
    EXPECT_TRUE(idle.answersWithin(0)) << "it was closed";
    EXPECT_EQ(alive.send(kPing.substr(20)).receive(), kPong) << "a slow one was not";
    EXPECT_FALSE(working.answersWithin(0));
    go_.set_value();
    EXPECT_TRUE(working.receive().value_or("").ends_with("wait"));
}

TEST_F(ServerTest, AnswersBesideAnyNumberOfIdleConnections) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::deque<Client> idle;
    for (const std::size_t count : {300U, 1000U, 5000U}) {
        if (count + 1000 > limit.rlim_max) break;
        while (idle.size() < count) idle.emplace_back(server_->port()).send("P");
        EXPECT_EQ(ask(kPing), kPong) << count;
    }
}

TEST_F(ServerTest, WaitsForItsClientsAsLongAsItSaysAndNoLonger) {
    server_ = listen({.requestTime = 300ms, .sendTime = 300ms, .tick = 50ms});
    const Client dripping = connect(), takesNothing = connect(), working = connect();
    takesNothing.send(call("much"));
    working.send(call("wait"));
    for (int i = 0; i < 1000 && !dripping.answersWithin(5); ++i) dripping.send("x");
    EXPECT_TRUE(dripping.answersWithin(0));
    ::usleep(500'000);
    EXPECT_NE(takesNothing.receive().value_or("").size(), 8'000'095U);
    EXPECT_FALSE(working.answersWithin(0)) << "a call may take longer than a request";
    go_.set_value();
    EXPECT_TRUE(working.receive().value_or("").ends_with("wait"));
}

// The next server raises the limit again.
TEST_F(ServerTest, OutlivesALackOfDescriptorsAndCausesNone) {
    const rlimit few{.rlim_cur = 64, .rlim_max = 256}, more{.rlim_cur = 256, .rlim_max = 256};
    ::setrlimit(RLIMIT_NOFILE, &few);
    for (int taken = 0; taken != -1;) taken = ::dup(0);
    ::close(63);
    const Client client = connect();
    const std::clock_t worked = std::clock();
    EXPECT_FALSE(client.send(kPing).answersWithin(500));
    EXPECT_LT(std::clock() - worked, CLOCKS_PER_SEC / 4) << "spins";
    ::setrlimit(RLIMIT_NOFILE, &more);
    EXPECT_EQ(client.receive(), kPong);

    std::future<void> clients[8];
    for (std::future<void>& each : clients) {
        each = std::async(std::launch::async, [this] {
            for (int i = 0; i < 50; ++i) EXPECT_EQ(ask(kPing), kPong);
        });
    }
    for (int i = 0; i < 300; ++i) EXPECT_EQ(connect().send("POST").endSending().receive(), "");
}

}  // namespace
}  // namespace tovra::http
