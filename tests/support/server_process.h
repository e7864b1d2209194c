// The built server as a child process, spoken to over pipes. Every wait is bounded, and what still
// runs at the end of the scope is killed by its id. Several may run at once.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/line_io.h"

namespace tovra::test {

class ServerProcess {
  public:
    static constexpr int kPatience = 60000;  // milliseconds; sanitizers on a busy machine are slow

    // Starts it with these arguments and the environment of this process.
    explicit ServerProcess(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), TOVRA_SERVER);
        std::vector<char*> argv;
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        const auto input = makePipe();
        const auto output = makePipe();
        ::signal(SIGPIPE, SIG_IGN);  // a server that has gone is a failed write here
        pid_ = ::fork();
        if (pid_ == 0) {
            ::signal(SIGPIPE, SIG_DFL);
            ::dup2(input[0], STDIN_FILENO);
            ::dup2(output[1], STDOUT_FILENO);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(input[0]);
        ::close(output[1]);
        input_ = input[1];
        output_ = output[0];
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() {
        kill();
        closeInput();
        closeOutput();
    }

    bool send(std::string_view bytes) { return writeAll(input_, bytes); }
    void closeInput() { closeOnce(input_); }
    void closeOutput() { closeOnce(output_); }

    // The next line without its line feed; nothing when the output ends or none comes in time.
    std::optional<std::string> readLine() {
        while (received_.find('\n') == std::string::npos) {
            if (!receive()) return std::nullopt;
        }
        std::string rest = received_.substr(received_.find('\n') + 1);
        received_.resize(received_.find('\n'));
        return std::exchange(received_, std::move(rest));
    }

    // All that is still written until the output ends.
    std::string readToEnd() {
        while (receive()) {
        }
        return std::exchange(received_, {});
    }

    // The exit status, the negative number of the signal that ended it, or nothing while it runs
    // on.
    std::optional<int> wait() {
        int status = 0;
        for (int waited = 0; ::waitpid(pid_, &status, WNOHANG) == 0; ++waited) {
            if (waited == kPatience) return std::nullopt;
            ::poll(nullptr, 0, 1);
        }
        pid_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    void sendSignal(int signal) const {
        if (pid_ > 0) ::kill(pid_, signal);
    }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(std::exchange(pid_, -1), nullptr, 0);
    }

  private:
    // Other children inherit neither end: they would keep it open.
    static std::array<int, 2> makePipe() {
        std::array<int, 2> ends{-1, -1};
        if (::pipe(ends.data()) != 0) return ends;
        for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
        return ends;
    }

    static void closeOnce(int& descriptor) {
        if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
    }

    bool receive() {
        pollfd waiting{output_, POLLIN, 0};
        if (::poll(&waiting, 1, kPatience) <= 0) return false;
        std::array<char, 65536> bytes{};
        const ssize_t count = ::read(output_, bytes.data(), bytes.size());
        if (count > 0) received_.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    std::string received_;
};

}  // namespace tovra::test
