// The built server, driven over its standard streams.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/lines.h"
#include "support/child_process.h"
#include "tests/support/golden.h"

namespace tovra {
namespace {

TEST(Stdio, AnswersEachMessageInItsOrderAndPassesOverTheRest) {
    const test::Golden golden("server/golden/lines.json");
    support::ChildProcess server({TOVRA_SERVER}, {});
    for (const json::Value each : golden.root().children()) {
        server.sendBytes(each.member("input").string().value());
    }
    server.sendBytes(std::string(5000000, '\xFF') + "\n" + std::string(5000000, ' ') +
                     R"({"method":"ping","id":"x"})");
    EXPECT_EQ(server.finish(), 0);
    for (const json::Value each : golden.root().children()) {
        const auto trace = golden.trace(each);
        golden.allowOnly(each, {"input", "answer"});
        EXPECT_EQ(server.receive(), each.member("answer").string());
    }
    EXPECT_EQ(server.receive(), R"({"jsonrpc":"2.0","id":"x","result":{}})");
    EXPECT_EQ(server.receive(), std::nullopt);
}

TEST(Stdio, AnswersAtOnceFromTheFileAsItIsNowUntilNobodyReads) {
    const support::DataFileScope data("");
    support::ChildProcess server({TOVRA_SERVER, "--read-only"}, {});
    const auto goals = [&](const char* content) {
        support::writeFile(data.path(), content);
        server.send(R"({"id":1,"method":"tools/call","params":{"name":"list_goals"}})");
        return server.receive();
    };
    const std::string start =
        R"({"jsonrpc":"2.0","id":1,"result":{"content":[{"type":"text","text":")";
    const std::string end = R"("}],"isError":false}})";
    EXPECT_EQ(goals(R"({"goals":[{"name":"A\n\u0001é","saved":1,"target":2}]})"),
              start + "Savings goals:\\n  • A\\n\\u0001é:  1.00 /  2.00 (50%)" + end);
    EXPECT_EQ(goals("{"), start + "No savings goals." + end);
    server.stopListening();
    server.send(R"({"id":1,"method":"ping"})");
    EXPECT_EQ(server.finish(), 0);
}

TEST(Stdio, EndsInFailureWhereNoAnswerCanBeWritten) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
    const support::DataFileScope data("{}");
    for (const std::string output : {"/dev/full", "&-"}) {
        support::ChildProcess server({"/bin/sh", "-c", "exec \"$0\" >" + output, TOVRA_SERVER}, {});
        server.send(
            R"({"method":"tools/call","params":{"name":"add_transaction","arguments":{"amount":1}}})");
        server.send(R"({"id":1,"method":"ping"})");
        EXPECT_EQ(server.finish(), output == "&-" ? 0 : 1);
        EXPECT_EQ(support::fileBytes(data.path()) == "{}", output == "&-");
        std::ofstream(data.path()) << "{}";
    }
}

TEST(Stdio, EndsWithTheFirstEndOfInputOnATerminal) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0) GTEST_SKIP() << "no terminal to be had";
    ASSERT_TRUE(::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const int typedAt = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY);
    LineReader reader(typedAt);
    ASSERT_EQ(::write(terminal, "last\x04\x04", 6), 6);
    EXPECT_EQ(reader.next(), "last");
    ASSERT_EQ(::write(terminal, "more\n", 5), 5);  // not to wait for ever
    EXPECT_EQ(reader.next(), std::nullopt);
    ::close(typedAt);
    ::close(terminal);
}

}  // namespace
}  // namespace tovra
