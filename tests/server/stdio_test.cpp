// The built server, driven over its standard streams.
#include <gtest/gtest.h>

#include "examples/child_process.h"
#include "tests/support/scopes.h"

namespace tovra {
namespace {

using examples::ChildProcess;
using namespace std::string_literals;

TEST(Stdio, AnswersEachMessageInItsOrderAndPassesOverTheRest) {
    const std::string ping = R"({"method":"ping","id":1})";
    const std::string good = ping + "\n" + R"({"method":"ping","id":2})";
    const std::string start = R"({"jsonrpc":"2.0","id":)", end = ",\"result\":{}}\n";
    const std::string both = start + "1" + end + start + "2" + end;
    const std::pair<std::string, std::string> cases[] = {
        {"\n \n\r\n\t\n" + good, both},
        {"  " + good + " \r\n", both},
        {"[]\n[" + ping + "]\n7\nnull\n{\"id\":1}\n{}\n" + good, both},
        {"{\"method\":\n\"ping\",\"id\":1}\n" + ping + ping + "\nx" + ping + "\n", ""},
        {"\0\0\0\n"s + ping + "\0\n"s + good + "\n\0"s, both},
        {"{\"method\":\"ping\",\"id\":\"\xFF\"}\n\xEF\xBB\xBF" + ping + "\n" + good, both},
        {std::string(5000000, ' ') + good + "\n[\"" + std::string(5000000, 'x'), both}};
    for (const auto& [input, output] : cases) {
        ChildProcess server({TOVRA_SERVER}, {});
        server.sendBytes(input);
        EXPECT_EQ(server.finish(), 0) << testing::PrintToString(input.substr(0, 100));
        std::string received;
        while (const auto line = server.receive()) received.append(*line) += '\n';
        EXPECT_EQ(received, output) << testing::PrintToString(input.substr(0, 100));
    }
}

TEST(Stdio, AnswersAtOnceFromTheFileAsItIsNowUntilNobodyReads) {
    const test::DataFile data("");
    ChildProcess server({TOVRA_SERVER, "--read-only"}, {});
    const auto goals = [&](const char* content) {
        test::writeFile(data.path(), content);
        server.send(R"({"id":1,"method":"tools/call","params":{"name":"list_goals"}})");
        return server.receive();
    };
    const std::string start =
        R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":")";
    EXPECT_EQ(goals(R"({"goals":[{"name":"A\n\u0001é","saved":1,"target":2}]})"),
              start + "Savings goals:\\n  • A\\n\\u0001é:  1.00 /  2.00 (50%)" +
                  R"("}],"isError":false}})");
    EXPECT_EQ(goals("{"), start + R"(No savings goals."}],"isError":false}})");
    server.stopListening();
    server.send(R"({"id":1,"method":"ping"})");
    EXPECT_EQ(server.finish(), 0);
}

}  // namespace
}  // namespace tovra
