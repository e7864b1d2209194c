// The built server, with less memory than it is asked to use.
#include <gtest/gtest.h>

#include <deque>

#include "http/request.h"
#include "support/child_process.h"
#include "support/loopback_client.h"
#include "support/test_environment.h"

#ifdef __has_feature
#define HAS_FEATURE(name) __has_feature(name)
#else
#define HAS_FEATURE(name) 0
#endif

namespace tovra {
namespace {

using support::ChildProcess;
using support::LoopbackClient;

// What takes most memory when it is parsed beside its size: an object of about that many bytes.
std::string numbers(std::size_t size) {
    std::string text = R"({"goals":[0)";
    while (text.size() < size) text += ",0";
    return text + "]}";
}

class ShortageTest : public testing::Test {
  protected:
    void SetUp() override {
#if defined(__APPLE__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    HAS_FEATURE(address_sanitizer) || HAS_FEATURE(thread_sanitizer)
        GTEST_SKIP() << "the memory of a process cannot be limited";
#endif
    }
    // The command of a server with so many kilobytes of address space.
    static std::vector<std::string> limited(int kilobytes, const std::string& arguments) {
        return {"/bin/sh", "-c",
                "ulimit -v " + std::to_string(kilobytes) + "; exec \"$0\" " + arguments,
                TOVRA_SERVER};
    }
};

TEST_F(ShortageTest, CostsTheLineOrTheCallAtHandAndNothingElse) {
    const std::string content = numbers(10'000'000);
    const support::DataFileScope data(content);
    ChildProcess server(limited(60'000, ""), {});
    for (const std::string& line :
         {R"({"id":1,"method":"ping"})" + std::string(100'000'000, ' '), numbers(10'000'000),
          std::string(R"({"id":2,"method":"tools/call","params":{"name":"get_overview"}})"),
          std::string(R"({"id":3,"method":"tools/call","params":{"name":"add_transaction",)"
                      R"("arguments":{"amount":1}}})"),
          std::string(R"({"id":4,"method":"ping"})")}) {
        server.send(line);
    }
    EXPECT_EQ(server.finish(), 0);
    for (const auto& [id, ending] :
         {std::pair{"2", "Nothing was changed."},
          {"3", "It may have been recorded all the same: look before you try again."}}) {
        EXPECT_EQ(server.receive(),
                  R"({"jsonrpc":"2.0","id":)" + std::string(id) +
                      R"(,"result":{"content":[{"type":"text","text":"Error: There is not enough )"
                      R"(memory for this call, or too many files are open. )" +
                      ending + R"("}],"isError":true}})");
    }
    EXPECT_EQ(server.receive(), R"({"jsonrpc":"2.0","id":4,"result":{}})");
    EXPECT_EQ(server.receive(), std::nullopt);
    EXPECT_EQ(support::fileBytes(data.path()), content);
}

std::string post(const std::string& body) {
    return "POST\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

TEST_F(ShortageTest, IsNotCausedByWhatClientsAskForAtOnce) {
    const support::DataFileScope data(numbers(1'000'000));
    const std::tuple<const char*, std::size_t, std::string> rows[] = {
        {"messages of short numbers", 10, post(numbers(4'000'000))},
        {"reports", 30, post(R"({"method":"tools/call","params":{"name":"list_goals"}})")},
        {"unread answers", 30,
         post(R"({"id":1,"method":")" + std::string(8'000'000, 'm') + "\"}")}};
    for (const auto& [what, count, request] : rows) {
        ChildProcess server({TOVRA_SERVER, "--http", "0"}, {}, ChildProcess::Listen::toErrors);
        const std::uint16_t port = support::portNamedIn(server.receive().value_or(""));
        std::deque<LoopbackClient> clients;
        while (clients.size() < count) {
            EXPECT_TRUE(clients.emplace_back(port).send(request).takesWithin(10'000)) << what;
        }
        for (const LoopbackClient& client : clients) EXPECT_TRUE(client.answersWithin(30'000));
        const std::string status =
            support::fileBytes("/proc/" + std::to_string(server.id()) + "/status");
        const std::size_t peak = std::stoul(status.substr(status.find("VmHWM:") + 6));
        EXPECT_LT(peak, 160'000U) << "kB, " << what;
    }
}

TEST_F(ShortageTest, PassesByItselfOverHttp) {
    const std::string large = post(numbers(4'000'000)), half = large.substr(0, 500'000);
    for (const int kilobytes : {50'000, 100'000, 200'000}) {
        ChildProcess server(limited(kilobytes, "--http 0"), {}, ChildProcess::Listen::toErrors);
        const std::uint16_t port = support::portNamedIn(server.receive().value_or(""));
        std::deque<LoopbackClient> clients;
        for (int i = 0; i < 60; ++i) clients.emplace_back(port).send(i % 10 == 0 ? large : half);
        EXPECT_EQ(LoopbackClient(port).send(post(R"({"id":1,"method":"ping"})")).receive(),
                  http::httpResponse("200 OK", "application/json",
                                     R"({"jsonrpc":"2.0","id":1,"result":{}})"))
            << kilobytes << " KB";
    }
}

TEST(DescriptorShortage, IsNotCausedByConnections) {
    const std::string call = R"({"id":1,"method":"tools/call","params":{"name":"add_transaction",)"
                             R"("arguments":{"amount":1}}})";
    for (const bool mayRaise : {true, false}) {
        const support::DataFileScope data("{}");
        const std::string limit = mayRaise ? "ulimit -Sn 80" : "ulimit -n 80";
        ChildProcess server({"/bin/sh", "-c", limit + "; exec \"$0\" --http 0", TOVRA_SERVER}, {},
                            ChildProcess::Listen::toErrors);
        const std::uint16_t port = support::portNamedIn(server.receive().value_or(""));
        std::deque<LoopbackClient> idle;
        while (idle.size() < 100) idle.emplace_back(port).send("P");
        EXPECT_NE(LoopbackClient(port).send(post(call)).receive().value_or("").find("Added: "),
                  std::string::npos);
        EXPECT_EQ(idle[80].answersWithin(0), !mayRaise) << "as many as there are descriptors for";
        EXPECT_FALSE(idle[90].answersWithin(0));
    }
}

}  // namespace
}  // namespace tovra
