#include "server/http_mode.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "http/server.h"
#include "platform/signals.h"
#include "store/recording.h"

namespace tovra {
namespace {

// One write for the whole line, so that lines of several programs do not mix.
void writeToStandardError(const std::string& line) { std::fputs(line.c_str(), stderr); }

}  // namespace

int runHTTP(std::uint16_t port, const std::optional<std::string>& token,
            const http::Handler& handle) {
    // Threads that are started from here on inherit this.
    holdEndSignals();
    const std::string asked = token.value_or("");
    std::optional<http::Server> server;
    try {
        server.emplace(port, asked, handle);
    } catch (const std::exception&) {
        writeToStandardError("Tovra MCP: could not listen on port " + std::to_string(port) + "\n");
        return 1;
    }
    writeToStandardError("Tovra MCP HTTP listening on 127.0.0.1:" + std::to_string(server->port()) +
                         (asked.empty() ? " (no token \u2014 keep on a private network!)\n"
                                        : " (token required)\n"));

    awaitEndSignal();
    finishRecordings();
    // Returning would wait for the calls that are still running.
    std::_Exit(0);
}

}  // namespace tovra
