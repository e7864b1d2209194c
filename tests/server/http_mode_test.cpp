#include "server/http_mode.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <deque>
#include <filesystem>
#include <tuple>

#include "http/server.h"
#include "store/recording.h"
#include "support/loopback_client.h"
#include "support/test_environment.h"

namespace tovra {
namespace {

// Makes this the process of a user who has no other, with so many threads at most.
void limitThreads(long most) {
    const rlimit limit{static_cast<rlim_t>(most), static_cast<rlim_t>(most)};
    ::setrlimit(RLIMIT_NPROC, &limit);
    if (::setuid(100'000U + static_cast<uid_t>(::getpid())) != 0) ::_exit(2);
}

std::string post(const std::string& message) {
    return "POST\r\nAuthorization: Bearer secret\r\nContent-Length: " +
           std::to_string(message.size()) + "\r\n\r\n" + message;
}

// A client, for a process of its own. It prints the line that says where the server listens, and
// how it is refused. Then it sends these messages, and waits for the server's end.
[[noreturn]] void ask(std::FILE* serverErrors, const std::vector<std::string>& messages) {
    char line[200] = "";
    std::ignore = std::fgets(line, sizeof line, serverErrors);
    const std::uint16_t port = support::portNamedIn(line);
    const auto refusal = support::LoopbackClient(port).send("\r\n\r\n").receive().value_or("");
    const std::string said = line + refusal.substr(0, 12);
    std::fputs(support::replaced(said, std::to_string(port), "PORT").c_str(), stderr);
    std::deque<support::LoopbackClient> clients;
    for (const std::string& each : messages) clients.emplace_back(port).send(post(each));
    for (const support::LoopbackClient& client : clients) std::ignore = client.receive();
    ::_exit(0);
}

// Serves that client. Each call takes for ever in the end. "end" sends this process the signal
// first, and "record" does so in the middle of a recording.
[[noreturn]] void serve(const std::string& token, int signal, const std::vector<std::string>& calls,
                        bool withFewThreads) {
    ::alarm(60);
    ::signal(SIGPIPE, SIG_IGN);
    int errors[2];
    if (::pipe(errors) != 0) ::_exit(2);
    const bool isClient = ::fork() == 0;
    if (!isClient) ::dup2(errors[1], STDERR_FILENO);
    ::close(errors[1]);
    if (isClient) ask(::fdopen(errors[0], "r"), calls);
    // One is left for ThreadSanitizer, which starts its own.
    const std::filesystem::path threads("/proc/self/task");
    if (withFewThreads && ::getuid() == 0 && exists(threads)) {
        limitThreads(2 + std::distance(std::filesystem::directory_iterator(threads), {}));
    }
    const http::Handler handle = [=](json::Value message) -> std::optional<std::string> {
        if (message.member("end").exists()) ::kill(::getpid(), signal);
        if (message.member("record").exists()) {
            std::ignore = changeDataFile([=](const DataSnapshot& snapshot) -> Change {
                ::kill(::getpid(), signal);
                ::usleep(300'000);
                support::writeFile(snapshot.path.string() + ".waited", "");
                return {json::Edit{snapshot.root(), "recorded", "1"}, ""};
            });
        }
        while (true) ::pause();
    };
    ::_exit(runHTTP(0, token, handle));
}

TEST(RunHTTP, SaysThatItCannotListen) {
    EXPECT_EXIT(::signal(SIGPIPE, SIG_IGN); const http::Server taken(0, "", {});
                ::_exit(runHTTP(taken.port(), "", {})), testing::ExitedWithCode(1),
                testing::MatchesRegex("Tovra MCP: could not listen on port [1-9][0-9]*\n"));
#ifdef __linux__  // elsewhere the limit is one on processes
    if (::getuid() != 0) return;
    EXPECT_EXIT(::signal(SIGPIPE, SIG_IGN); limitThreads(0);
                ::_exit(runHTTP(0, "", {})), testing::ExitedWithCode(1),
                testing::Eq("Tovra MCP: could not listen on port 0\n"));
#endif
}

TEST(RunHTTP, SaysWhereItListensAndEndsOnASignalWithTheRecordingUnderWay) {
    const std::string listens = "Tovra MCP HTTP listening on 127.0.0.1:PORT ";
    const support::DataFileScope data("{}");
    EXPECT_EXIT(
        serve("", SIGTERM, {R"({"wait":1})", R"({"record":1})"}, false), testing::ExitedWithCode(0),
        testing::Eq(listens + "(no token \u2014 keep on a private network!)\nHTTP/1.1 405"));
    EXPECT_TRUE(exists(std::filesystem::path(data.path().string() + ".waited")));
    EXPECT_EQ(support::fileBytes(data.path()), "{}") << "nobody could be told";
    EXPECT_EXIT(serve("secret", SIGINT, {R"({"end":1})"}, true), testing::ExitedWithCode(0),
                testing::Eq(listens + "(token required)\nHTTP/1.1 401"));
}

}  // namespace
}  // namespace tovra
