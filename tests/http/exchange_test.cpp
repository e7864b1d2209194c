#include "http/exchange.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <ctime>
#include <filesystem>
#include <future>
#include <list>
#include <thread>

#include "tests/http/client.h"

namespace tovra::http {
namespace {

using test::Client;
using namespace std::chrono_literals;

std::string post(const std::string& body) {
    return "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const std::string kSpaces(3'000'000, ' ');
const std::string kPing = post(R"({"method":"ping"})");
const std::string kLargePing = post(R"({"method":"ping"})" + kSpaces);
const std::string kPong = httpResponse("200 OK", "application/json", "ping");
const std::string kBadRequest = httpResponse("400 Bad Request", std::nullopt, "");

auto openDescriptors() { return std::distance(std::filesystem::directory_iterator("/dev/fd"), {}); }

// A server that answers with the message's "method", to "much" at length; for "wait" it waits for
// the test to let it go on, for "exhaust" it finds no memory. It buffers 4 MB.
class ExchangeTest : public testing::Test {
  protected:
    void start(TcpLimits limits) {
        limits.tick = 20ms;
        const Handler handler = [this](json::Value message) {
            std::string method(message.member("method").string().value_or(""));
            if (method == "wait") mayGo_.wait_for(1min);
            if (method == "exhaust") throw std::bad_alloc();
            if (method == "much") method.resize(8'000'000, 'm');
            return std::optional(method);
        };
        server_ = TcpServer::listen(0, limits, requestExchanges("", handler, {}, 4'000'000));
    }
    void SetUp() override { start({}); }
    Client connect() const { return Client(server_->port()); }
    std::string ask(const std::string& request) const { return connect().send(request).receive(); }

    std::promise<void> go_;
    const std::shared_future<void> mayGo_ = go_.get_future().share();
    std::unique_ptr<TcpServer> server_;
};

TEST_F(ExchangeTest, AnswersHoweverTheRequestComesWhileAnotherOneTakesLong) {
    start({.callers = 1});
    const Client slow = connect();
    slow.send(post(R"({"method":"wait"})"));
    for (const std::string& request : {kPing + kPing, kPing + kSpaces, kLargePing})
        EXPECT_EQ(ask(request), kPong) << request.size() << " bytes";
    EXPECT_EQ(connect().send(kPing).endSending().receive(), kPong);
    for (std::size_t size = 0; size < kPing.size(); ++size)
        EXPECT_EQ(connect().send(kPing.substr(0, size)).endSending().receive(), "") << size;
    const Client bytewise = connect();
    for (const char& byte : kPing) bytewise.send({&byte, 1});
    EXPECT_EQ(bytewise.receive(), kPong);
    EXPECT_EQ(ask(post(R"({"method":"much"})")).size(), 8'000'095U);
    EXPECT_EQ(ask(post(R"({"method":"exhaust"})")), "");
    EXPECT_EQ(ask(std::string(70'000, 'x')), kBadRequest);
    EXPECT_EQ(ask("POST / HTTP/1.1\r\nContent-Length: 16777216\r\n\r\n"), kBadRequest);
    EXPECT_FALSE(slow.answersWithin(0));
    go_.set_value();
    EXPECT_TRUE(slow.receive().ends_with("wait"));
}

TEST_F(ExchangeTest, BuffersNoMoreThanItMay) {
    const Client first = connect();
    const Client second = connect();
    for (const Client* client : {&first, &second}) client->send(kLargePing.substr(0, 2'500'000));
    for (int i = 0; i < 1000 && !first.answersWithin(5) && !second.answersWithin(5);) ++i;
    const auto& [refused, accepted] =
        first.answersWithin(0) ? std::tie(first, second) : std::tie(second, first);
    EXPECT_EQ(refused.receive(), kBadRequest);
    EXPECT_EQ(accepted.send(kLargePing.substr(2'500'000)).receive(), kPong);
    EXPECT_EQ(ask(kLargePing), kPong) << "when the others have given back what they had";
}

TEST_F(ExchangeTest, LetsOthersWaitNoLongerThanItMustForMisbehavingClients) {
    start({.connections = 1, .requestTime = 300ms, .sendTime = 300ms, .drainTime = 300ms});
    const Client silent = connect();
    const Client takesNothing = connect();
    const Client stays = connect();
    takesNothing.send(post(R"({"method":"much"})"));
    EXPECT_FALSE(stays.send(kPing).answersWithin(200));
    EXPECT_EQ(silent.receive(), "");
    EXPECT_EQ(stays.receive(), kPong);
    const Client dripping = connect();
    for (int i = 0; i < 1000 && !dripping.answersWithin(5); ++i) dripping.send("x");
    EXPECT_TRUE(dripping.answersWithin(0));
    EXPECT_EQ(ask(kPing), kPong);
}

TEST_F(ExchangeTest, StaysTheSameUnderLoad) {
    EXPECT_EQ(ask(kPing), kPong);
    const auto before = openDescriptors();
    std::list<Client> halfOpen;
    for (int i = 0; i < 64; ++i) halfOpen.emplace_back(server_->port()).send("POST / HT");
    std::list<std::future<void>> clients;
    for (int i = 0; i < 8; ++i)
        clients.push_back(std::async(std::launch::async, [&] {
            for (int k = 0; k < 50; ++k) EXPECT_EQ(ask(kPing), kPong);
        }));
    clients.clear();
    halfOpen.clear();
    for (int i = 0; i < 1000 && openDescriptors() > before; ++i) std::this_thread::sleep_for(5ms);
    EXPECT_LE(openDescriptors(), before);
}

TEST_F(ExchangeTest, OutlivesALackOfDescriptors) {
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{64, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    int last = 0;
    for (int next = 0; next != -1; next = ::dup(0)) last = next;
    ::close(last);
    const Client client(server_->port());
    const std::clock_t worked = std::clock();
    EXPECT_FALSE(client.send(kPing).answersWithin(500));
    EXPECT_LT(std::clock() - worked, CLOCKS_PER_SEC / 4) << "spins";
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(client.receive(), kPong);
}

}  // namespace
}  // namespace tovra::http
