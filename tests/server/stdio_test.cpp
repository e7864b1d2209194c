// The built server, driven over its standard streams.
#include <gtest/gtest.h>

#include "tests/support/scopes.h"
#include "tests/support/server_process.h"

namespace tovra {
namespace {

using namespace std::string_literals;

std::string ping(int id) { return R"({"method":"ping","id":)" + std::to_string(id) + "}"; }
std::string pong(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"result":{}})" + "\n";
}

TEST(Stdio, AnswersEachMessageInItsOrderAndPassesOverTheRest) {
    const std::string good = ping(1) + "\n" + ping(2);
    const std::string both = pong(1) + pong(2);
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"\n \n\r\n\t\n", ""},
        {good, both},
        {good + "\n", both},
        {good + "\r", both},
        {ping(1) + "\r\n  " + ping(2) + " \r\n", both},
        {"[]\n[" + ping(1) + "]\n7\n\"x\"\nnull\n" + good, both},
        {"{\"method\":\"notifications/initialized\"}\n{\"id\":1}\n{}\n" + good, both},
        {"{\"method\":\n\"ping\",\"id\":1}\n" + ping(1) + ping(1) + "\nx" + ping(1) + "\n", ""},
        {"\0\0\0\n"s + ping(1) + "\0\n"s + good + "\n\0"s, both},
        {"{\"method\":\"ping\",\"id\":\"\xFF\"}\n\xEF\xBB\xBF" + ping(1) + "\n" + good, both},
        {std::string(100000, '[') + "\n" + good, both},
        {std::string(5000000, ' ') + good + "\n[\"" + std::string(5000000, 'x'), both}};
    for (const auto& [input, output] : cases) {
        test::ServerProcess server;
        server.send(input);
        server.closeInput();
        EXPECT_EQ(server.readToEnd(), output) << testing::PrintToString(input.substr(0, 100));
        EXPECT_EQ(server.wait(), 0) << testing::PrintToString(input.substr(0, 100));
    }
}

TEST(Stdio, AnswersAtOnceFromTheFileAsItIsNow) {
    const test::DataFile data(R"({"goals":[{"name":"A\n\u0001é","saved":1,"target":2}]})");
    test::ServerProcess server({"--read-only"});
    const std::string request = R"({"id":1,"method":"tools/call","params":{"name":"list_goals"}})"
                                "\n";
    const auto response = [](const std::string& text) {
        return R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":")" + text +
               R"("}],"isError":false}})";
    };
    ASSERT_TRUE(server.send(request));
    EXPECT_EQ(server.readLine(),
              response("Savings goals:\\n  • A\\n\\u0001é:  1.00 /  2.00 (50%)"));
    test::writeFile(data.path(), R"({"goals":[)");
    ASSERT_TRUE(server.send(request));
    EXPECT_EQ(server.readLine(), response("No savings goals."));
    server.closeInput();
    EXPECT_EQ(server.wait(), 0);
}

TEST(Stdio, EndsWhenNobodyReadsTheAnswers) {
    test::ServerProcess server;
    server.closeOutput();
    ASSERT_TRUE(server.send(ping(1) + "\n"));
    EXPECT_EQ(server.wait(), 0);
}

}  // namespace
}  // namespace tovra
