// The built server, driven over its standard streams.
#include <gtest/gtest.h>

#include "tests/support/scopes.h"
#include "tests/support/server_process.h"

namespace tovra {
namespace {

using namespace std::string_literals;

TEST(Stdio, AnswersEachMessageInItsOrderAndPassesOverTheRest) {
    const std::string ping = R"({"method":"ping","id":1})";
    const std::string good = ping + "\n" + R"({"method":"ping","id":2})";
    const std::string both =
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{}}\n{\"jsonrpc\":\"2.0\",\"id\":2,\"result\":{}}"
        "\n";
    const std::pair<std::string, std::string> cases[] = {
        {"\n \n\r\n\t\n" + good, both},
        {"  " + good + " \r\n", both},
        {"[]\n[" + ping + "]\n7\nnull\n{\"id\":1}\n{}\n" + good, both},
        {"{\"method\":\n\"ping\",\"id\":1}\n" + ping + ping + "\nx" + ping + "\n", ""},
        {"\0\0\0\n"s + ping + "\0\n"s + good + "\n\0"s, both},
        {"{\"method\":\"ping\",\"id\":\"\xFF\"}\n\xEF\xBB\xBF" + ping + "\n" + good, both},
        {std::string(5000000, ' ') + good + "\n[\"" + std::string(5000000, 'x'), both}};
    for (const auto& [input, output] : cases) {
        test::ServerProcess server;
        server.send(input);
        server.closeInput();
        EXPECT_EQ(server.readToEnd(), output) << testing::PrintToString(input.substr(0, 100));
        EXPECT_EQ(server.wait(), 0) << testing::PrintToString(input.substr(0, 100));
    }
}

TEST(Stdio, AnswersAtOnceFromTheFileAsItIsNowUntilNobodyReads) {
    const test::DataFile data("");
    test::ServerProcess server({"--read-only"});
    const std::string request =
        "{\"id\":1,\"method\":\"tools/call\",\"params\":{\"name\":\"list_goals\"}}\n";
    const std::string start =
        R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":")";
    test::writeFile(data.path(), R"({"goals":[{"name":"A\n\u0001é","saved":1,"target":2}]})");
    server.send(request);
    EXPECT_EQ(server.readLine(), start + "Savings goals:\\n  • A\\n\\u0001é:  1.00 /  2.00 (50%)" +
                                     R"("}],"isError":false}})");
    test::writeFile(data.path(), "{");
    server.send(request);
    EXPECT_EQ(server.readLine(), start + R"(No savings goals."}],"isError":false}})");
    server.closeOutput();
    server.send(request);
    EXPECT_EQ(server.wait(), 0);
}

}  // namespace
}  // namespace tovra
