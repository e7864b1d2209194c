// A program that runs as a child of this one and is talked to line by line, as an assistant host
// does with the server. Not for several threads.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/lines.h"

namespace tovra::support {

class ChildProcess {
  public:
    enum class Listen { toOutput, toErrors };

    // Starts the program at the path `command[0]`, with `environment` ("NAME=value") in addition to
    // this process's own. `listen` says which of its two output streams comes here. The other one
    // goes where this process's goes. Throws std::system_error when it cannot be started.
    ChildProcess(const std::vector<std::string>& command,
                 const std::vector<std::string>& environment, Listen listen = Listen::toOutput);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    // Ends the program with SIGTERM where it still runs.
    ~ChildProcess();

    // Sends the line and a line feed. False when the program does not read any more.
    bool send(std::string_view line) { return sendBytes(std::string(line) + '\n'); }
    bool sendBytes(std::string_view bytes) { return !writeAll(input_, bytes); }
    // The next line from the program; nothing when it will send no more. Valid until the next call.
    std::optional<std::string_view> receive() { return reader_.next(); }
    // Receives no more.
    void stopListening();

    // Closes the program's input and waits for its end; what it has sent may still be received.
    // Gives its exit status, 128 and more for a signal.
    int finish();

    [[nodiscard]] pid_t id() const { return id_; }

  private:
    pid_t id_ = -1;
    int input_ = -1;
    int output_ = -1;
    LineReader reader_{-1};
};

}  // namespace tovra::support
