#include "http/exchange.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <future>
#include <list>
#include <new>
#include <thread>
#include <vector>

#include "http/server.h"
#include "tests/http/client.h"

namespace tovra::http {
namespace {

using test::Client;
using namespace std::chrono_literals;

constexpr int kSoon = 100;  // milliseconds in which nothing must happen

const std::string kBadRequest =
    "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

std::string post(const std::string& body) {
    return "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string answered(const std::string& body) {
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n" + body;
}

const std::string kPing = post(R"({"method":"ping"})");
const std::string kPong = answered(R"("ping")");

int openDescriptors() {
    int open = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) != -1) ++open;
    return open;
}

// A server that answers with the message's "method", as often as "times" says; for "wait" it waits
// for the test to let it go on, for "exhaust" it finds no memory.
class ExchangeTest : public testing::Test {
  protected:
    void start() {
        limits_.tcp.tick = 20ms;
        server_ = TcpServer::listen(
            0, limits_.tcp, requestExchanges("", handler(), limits_.request, limits_.buffered));
        ASSERT_TRUE(server_);
        port_ = server_->port();
    }

    void TearDown() override { release(); }
    void release() {
        if (!released_.exchange(true)) go_.set_value();
    }

    std::string ask(const std::string& request) const {
        return Client(port_).send(request).receive();
    }

    ServerLimits limits_;
    std::uint16_t port_ = 0;

  private:
    Handler handler() {
        return [this](json::Value message) -> std::optional<std::string> {
            const std::string method(message.member("method").string().value_or(""));
            if (method == "wait") mayGo_.wait();
            if (method == "exhaust") throw std::bad_alloc();
            std::string answer = "\"";
            const double times = message.member("times").number().value_or(1);
            for (int i = 0; i < static_cast<int>(times); ++i) answer += method;
            return answer + "\"";
        };
    }

    std::promise<void> go_;
    std::shared_future<void> mayGo_ = go_.get_future().share();
    std::atomic<bool> released_ = false;
    std::unique_ptr<TcpServer> server_;  // last, since it waits for the calls when it goes
};

TEST_F(ExchangeTest, AnswersHoweverTheRequestComes) {
    start();
    EXPECT_EQ(ask(kPing), kPong);
    EXPECT_EQ(Client(port_).send(kPing).endSending().receive(), kPong) << "with the end of stream";
    EXPECT_EQ(ask(kPing + "\r\n" + kPing), kPong) << "with bytes after the body";

    Client bytewise(port_);
    for (const char byte : kPing) bytewise.send({&byte, 1});
    EXPECT_EQ(bytewise.receive(), kPong) << "byte by byte";

    const std::string large(3'000'000, ' ');
    EXPECT_EQ(ask(post(R"({"method":"ping"})" + large)), kPong) << "with a large body";
    EXPECT_EQ(ask(kPing + large), kPong) << "with much after the body";
    EXPECT_EQ(ask(post(R"({"method":"ping","times":2000000})")).size(), 8'000'097U) << "at length";
}

TEST_F(ExchangeTest, ClosesSilentlyWhatHasNoAnswer) {
    start();
    for (const std::string& part : {kPing.substr(0, 0), kPing.substr(0, 9),
                                    kPing.substr(0, kPing.size() - 1), std::string("GET / \n\n")})
        EXPECT_EQ(Client(port_).send(part).endSending().receive(), "") << part;
    EXPECT_EQ(ask(post(R"({"method":"exhaust"})")), "") << "when the memory runs out";
    EXPECT_EQ(ask(kPing), kPong);
}

TEST_F(ExchangeTest, CutsOffWhatIsTooLarge) {
    start();
    EXPECT_EQ(ask(std::string(70'000, 'x')), kBadRequest);
    EXPECT_EQ(ask("POST / HTTP/1.1\r\nContent-Length: 16777216\r\n\r\n"), kBadRequest);
    EXPECT_EQ(ask(kPing), kPong);
}

TEST_F(ExchangeTest, CutsOffWhatIsTooSlow) {
    limits_.tcp.requestTime = 200ms;
    start();
    const auto begin = std::chrono::steady_clock::now();
    Client silent(port_);
    Client dripping(port_);
    for (int i = 0; i < 1000 && !dripping.answersWithin(5); ++i) dripping.send("x");
    EXPECT_EQ(silent.receive(), "");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 200ms);
    EXPECT_TRUE(dripping.answersWithin(0));
    EXPECT_EQ(ask(kPing), kPong);
}

TEST_F(ExchangeTest, BuffersNoMoreThanItMay) {
    limits_.buffered = 1'000'000;
    start();
    const std::string whole = post(R"({"method":"ping"})" + std::string(900'000, ' '));
    Client first(port_);
    Client second(port_);
    first.send(whole.substr(0, 600'000));
    second.send(whole.substr(0, 600'000));
    for (int i = 0; i < 1000 && !first.answersWithin(5) && !second.answersWithin(5);) ++i;
    Client& refused = first.answersWithin(0) ? first : second;
    Client& accepted = &refused == &first ? second : first;
    EXPECT_EQ(refused.receive(), kBadRequest);
    EXPECT_FALSE(accepted.answersWithin(kSoon));
    EXPECT_EQ(accepted.send(whole.substr(600'000)).receive(), kPong);
    EXPECT_EQ(ask(whole), kPong) << "when the others have given back what they had";
}

TEST_F(ExchangeTest, LetsFurtherConnectionsWait) {
    limits_.tcp.connections = 2;
    start();
    Client first(port_);
    Client second(port_);
    Client third(port_);
    third.send(kPing);
    EXPECT_FALSE(third.answersWithin(kSoon));
    first.leave();
    EXPECT_EQ(third.receive(), kPong);
}

TEST_F(ExchangeTest, DropsClientsThatTakeNothingOrStay) {
    limits_.tcp.connections = 1;
    limits_.tcp.sendTime = 200ms;
    limits_.tcp.drainTime = 200ms;
    start();
    Client takesNothing(port_);
    takesNothing.send(post(R"({"method":"much","times":4000000})"));
    EXPECT_EQ(ask(kPing), kPong);
    Client stays(port_);
    EXPECT_EQ(stays.send(kPing).receive(), kPong);
    EXPECT_EQ(ask(kPing), kPong);
}

TEST_F(ExchangeTest, SlowCallsKeepNobodyWaiting) {
    limits_.tcp.callers = 3;
    start();
    std::list<Client> slow;
    for (int i = 0; i < 3; ++i) slow.emplace_back(port_).send(post(R"({"method":"wait"})"));
    EXPECT_EQ(ask(kPing), kPong);
    EXPECT_EQ(ask("GET / HTTP/1.1\r\nOrigin: https://example.com\r\n\r\n").substr(9, 3), "403");
    for (Client& client : slow) EXPECT_FALSE(client.answersWithin(0));
    release();
    for (Client& client : slow) EXPECT_EQ(client.receive(), answered(R"("wait")"));
}

TEST_F(ExchangeTest, StaysTheSameUnderLoad) {
    start();
    EXPECT_EQ(ask(kPing), kPong);
    const int before = openDescriptors();
    std::list<Client> halfOpen;
    for (int i = 0; i < 64; ++i) halfOpen.emplace_back(port_).send("POST / HT");
    std::atomic<int> good = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i)
        clients.emplace_back([&] {
            for (int k = 0; k < 50; ++k) good += ask(kPing) == kPong ? 1 : 0;
        });
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(good, 400);
    halfOpen.clear();
    int after = openDescriptors();
    for (int i = 0; i < 1000 && after > before; ++i) {
        std::this_thread::sleep_for(5ms);
        after = openDescriptors();
    }
    EXPECT_LE(after, before);
}

TEST_F(ExchangeTest, OutlivesALackOfDescriptors) {
    start();
    Client client;
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit before = limit;
    limit.rlim_cur = static_cast<rlim_t>(client.descriptor()) + 1;
    for (int filler = 0; filler != -1 && filler < client.descriptor();) filler = ::dup(0);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    client.connect(port_);
    client.send(kPing);
    const std::clock_t worked = std::clock();
    EXPECT_FALSE(client.answersWithin(500));
    EXPECT_LT(std::clock() - worked, CLOCKS_PER_SEC / 4) << "spins";
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(client.receive(), kPong);
}

}  // namespace
}  // namespace tovra::http
