#include "server/http_mode.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "http/tcp_server.h"
#include "support/loopback_client.h"

namespace tovra {
namespace {

// Makes this an ordinary user's process with so many threads at most, for at most a minute.
void limitThreads(long most) {
    const rlimit limit{static_cast<rlim_t>(most), static_cast<rlim_t>(most)};
    ::setrlimit(RLIMIT_NPROC, &limit);
    if (::getuid() == 0 && ::setuid(65533) != 0) ::_exit(2);
    ::alarm(60);
}

// Serves one client, a process of its own, which tells how it is refused and makes a call. That
// call sends this process the signal and takes for ever. There is one thread to serve, where that
// can be arranged.
[[noreturn]] void serve(std::uint16_t port, const std::string& token, int signal) {
    ::alarm(60);
    if (::fork() == 0) {
        std::string refusal;
        for (int i = 0; i < 3000 && refusal.empty(); ++i, ::usleep(10'000)) {
            refusal = support::LoopbackClient(port).send("\r\n\r\n").receive().value_or("");
        }
        std::fputs(refusal.substr(0, 12).c_str(), stderr);
        support::LoopbackClient(port).send(
            "POST\r\nAuthorization: Bearer secret\r\nContent-Length: 2\r\n\r\n{}");
        ::_exit(0);
    }
    const std::filesystem::path threads("/proc/self/task");
    if (::getuid() == 0 && exists(threads)) {
        limitThreads(1 + std::distance(std::filesystem::directory_iterator(threads), {}));
    }
    const http::Handler handle = [signal](json::Value) -> std::optional<std::string> {
        ::kill(::getpid(), signal);
        while (true) ::pause();
    };
    ::_exit(runHTTP(port, token, handle, [] { std::fputs(", before exit\n", stderr); }));
}

TEST(RunHTTP, SaysWhereItListensAndEndsOnASignalWhateverItIsDoing) {
    const std::uint16_t port = TcpServer::listen(0, {}, {})->port();  // free again
    const std::string number = std::to_string(port);
    EXPECT_EXIT(const auto taken = TcpServer::listen(port, {}, {});
                ::_exit(runHTTP(port, "", {}, {})), testing::ExitedWithCode(1),
                testing::Eq("Tovra MCP: could not listen on port " + number + "\n"));
#ifdef __linux__  // elsewhere the limit is one on processes
    EXPECT_EXIT(limitThreads(0); ::_exit(runHTTP(0, "", {}, {})), testing::ExitedWithCode(1),
                                 testing::Eq("Tovra MCP: could not listen on port 0\n"));
#endif

    // From the second one on, the system remembers connections of the port.
    const std::tuple<int, const char*, const char*> cases[] = {
        {SIGTERM, "", " (no token \u2014 keep on a private network!)\nHTTP/1.1 405, before exit\n"},
        {SIGINT, "secret", " (token required)\nHTTP/1.1 401, before exit\n"}};
    for (const auto& [signal, token, ending] : cases) {
        EXPECT_EXIT(serve(port, token, signal), testing::ExitedWithCode(0),
                    testing::Eq("Tovra MCP HTTP listening on 127.0.0.1:" + number + ending));
    }
}

}  // namespace
}  // namespace tovra
