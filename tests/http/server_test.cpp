#include "http/server.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include "tests/http/client.h"

namespace tovra::http {
namespace {

using test::Client;
using namespace std::chrono_literals;

// runHTTP in a process of its own. Its calls take for ever.
class ServerProcess {
  public:
    explicit ServerProcess(std::uint16_t port, const std::optional<std::string>& token = {}) {
        std::array<int, 2> pipe{};
        if (::pipe(pipe.data()) != 0) return;
        process_ = ::fork();
        if (process_ == 0) {
            ::dup2(pipe[1], STDERR_FILENO);
            const Handler sleep = [](json::Value) -> std::optional<std::string> {
                std::fputs("called\n", stderr);
                std::this_thread::sleep_for(1min);
                return std::nullopt;
            };
            ::_exit(runHTTP(port, token, sleep, [] { std::fputs("before exit\n", stderr); }));
        }
        ::close(pipe[1]);
        errors_ = pipe[0];
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() {
        if (process_ > 0) ::kill(process_, SIGKILL);
        wait();
        ::close(errors_);
    }

    // The next line of its standard error, with its end; less where the stream ends before.
    std::string line() const {
        std::string line;
        char byte = 0;
        pollfd waiting{errors_, POLLIN, 0};
        while (!line.ends_with('\n') && ::poll(&waiting, 1, Client::kPatience) == 1 &&
               ::read(errors_, &byte, 1) == 1)
            line += byte;
        return line;
    }

    void signal(int number) const { ::kill(process_, number); }

    // Its exit status, -1 where a signal killed it.
    int wait() {
        int status = 0;
        if (process_ <= 0 || ::waitpid(process_, &status, 0) != process_) return -1;
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    pid_t process_ = -1;
    int errors_ = -1;
};

constexpr std::string_view kListening = "Tovra MCP HTTP listening on 127.0.0.1:";

std::uint16_t portIn(const std::string& line) {
    if (!line.starts_with(kListening)) return 0;
    return static_cast<std::uint16_t>(std::stoi(line.substr(kListening.size())));
}

TEST(RunHTTP, SaysWhereItListens) {
    const std::string open = " (no token \xE2\x80\x94 keep on a private network!)\n";
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
        {std::nullopt, open}, {"", open}, {"secret", " (token required)\n"}};
    for (const auto& [token, ending] : cases) {
        const ServerProcess server(0, token);
        const std::string line = server.line();
        const std::uint16_t port = portIn(line);
        EXPECT_EQ(line, std::string(kListening) + std::to_string(port) + ending);
        EXPECT_EQ(Client(port).send("HEAD / HTTP/1.1\r\n\r\n").receive().substr(0, 12),
                  token == "secret" ? "HTTP/1.1 401" : "HTTP/1.1 200");
    }
}

TEST(RunHTTP, FailsOnATakenPortAndFindsItAgain) {
    ServerProcess first(0);
    const std::uint16_t port = portIn(first.line());
    Client client(port);
    client.send("HEAD / HTTP/1.1\r\n\r\n");
    EXPECT_FALSE(client.receive().empty());

    ServerProcess second(port);
    EXPECT_EQ(second.line(), "Tovra MCP: could not listen on port " + std::to_string(port) + "\n");
    EXPECT_EQ(second.line(), "");
    EXPECT_EQ(second.wait(), 1);

    first.signal(SIGTERM);
    EXPECT_EQ(first.wait(), 0);
    const ServerProcess third(port);
    EXPECT_EQ(portIn(third.line()), port);
}

TEST(RunHTTP, EndsOnASignalWhateverItIsDoing) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ServerProcess server(0);
        Client client(portIn(server.line()));
        client.send("POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}");
        EXPECT_EQ(server.line(), "called\n");
        server.signal(signal);
        EXPECT_EQ(server.line(), "before exit\n");
        EXPECT_EQ(server.wait(), 0);
        EXPECT_EQ(client.receive(), "");
    }
}

}  // namespace
}  // namespace tovra::http
