#include "support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

// Some C libraries do not declare this.
extern "C" char** environ;  // NOLINT(readability-redundant-declaration)

namespace tovra::support {
namespace {

// The program that is started keeps neither end open, except those that it is given.
std::array<int, 2> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    return ends;
}

void closeOnce(int& descriptor) {
    if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size());
    for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
    return result;
}

pid_t start(const std::vector<std::string>& command, const std::vector<std::string>& environment,
            int input, int output, int outputNumber) {
    posix_spawn_file_actions_t streams{};
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_adddup2(&streams, input, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&streams, output, outputNumber);

    auto arguments = pointers(command);
    arguments.push_back(nullptr);
    // Of two variables with the same name the first one counts.
    auto variables = pointers(environment);
    for (char** variable = environ; *variable != nullptr; ++variable) {
        variables.push_back(*variable);
    }
    variables.push_back(nullptr);

    pid_t id = -1;
    const int error = ::posix_spawn(&id, arguments.front(), &streams, nullptr, arguments.data(),
                                    variables.data());
    ::posix_spawn_file_actions_destroy(&streams);
    if (error != 0) throw std::system_error(error, std::generic_category(), command.front());
    return id;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& environment, Listen listen) {
    const auto [childInput, input] = makePipe();
    const auto [output, childOutput] = makePipe();
    input_ = input;
    output_ = output;
    reader_ = LineReader(output);
    const int number = listen == Listen::toOutput ? STDOUT_FILENO : STDERR_FILENO;
    id_ = start(command, environment, childInput, childOutput, number);
    ::close(childInput);
    ::close(childOutput);
}

ChildProcess::~ChildProcess() {
    if (id_ > 0) ::kill(id_, SIGTERM);
    finish();
    stopListening();
}

void ChildProcess::stopListening() { closeOnce(output_); }

int ChildProcess::finish() {
    closeOnce(input_);
    if (id_ <= 0) return 0;
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) continue;
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace tovra::support
