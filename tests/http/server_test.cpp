#include "http/server.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <thread>

#include "tests/http/client.h"

namespace tovra::http {
namespace {

using test::Client;

// Runs the server in a process of its own; a call there sends it the signal and takes for ever.
[[noreturn]] void serve(std::uint16_t port, const std::string& token, int signal) {
    const Handler handle = [signal](json::Value) -> std::optional<std::string> {
        ::kill(::getpid(), signal);
        std::this_thread::sleep_for(std::chrono::minutes(1));
        return {};
    };
    ::alarm(60);
    ::_exit(runHTTP(port, token, handle, [] { std::fputs("before exit\n", stderr); }));
}

TEST(RunHTTP, SaysWhereItListensAndEndsOnASignalWhateverItIsDoing) {
    const std::uint16_t port = TcpServer::listen(0, {}, {})->port();  // free again
    const std::string number = std::to_string(port);
    EXPECT_EXIT(const auto taken = TcpServer::listen(port, {}, {});
                serve(port, "", SIGTERM), testing::ExitedWithCode(1),
                testing::Eq("Tovra MCP: could not listen on port " + number + "\n"));

    // From the second one on, the system remembers connections of the port.
    const std::tuple<int, const char*, const char*, const char*> cases[] = {
        {SIGTERM, "", "405", " (no token \u2014 keep on a private network!)\n"},
        {SIGINT, "secret", "401", " (token required)\n"}};
    for (const auto& [signal, token, status, ending] : cases) {
        const pid_t client = ::fork();
        if (client == 0) {
            std::string answer;
            for (int i = 0; i < 3000 && answer.empty(); ++i, ::usleep(10'000))
                answer = Client(port).send("\r\n\r\n").receive();
            const std::string head = "POST\r\nAuthorization: Bearer secret\r\nContent-Length: 2";
            const bool cutOff = Client(port).send(head + "\r\n\r\n{}").receive().empty();
            ::_exit(cutOff && answer.substr(0, 12).ends_with(status) ? 0 : 1);
        }
        EXPECT_EXIT(serve(port, token, signal), testing::ExitedWithCode(0),
                    testing::Eq("Tovra MCP HTTP listening on 127.0.0.1:" + number + ending +
                                "before exit\n"));
        int clientStatus = -1;
        ::waitpid(client, &clientStatus, 0);
        EXPECT_EQ(clientStatus, 0) << status;
    }
}

}  // namespace
}  // namespace tovra::http
