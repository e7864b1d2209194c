#include "server/http_mode.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "http/exchange.h"
#include "platform/signals.h"

namespace tovra {
namespace {

// One write for the whole line, so that lines of several programs do not mix.
void writeToStandardError(const std::string& line) { std::fputs(line.c_str(), stderr); }

}  // namespace

int runHTTP(std::uint16_t port, const std::optional<std::string>& token,
            const http::Handler& handle, const std::function<void()>& beforeExit) {
    // Threads that are started from here on inherit this.
    holdEndSignals();
    const std::unique_ptr<TcpServer> server =
        TcpServer::listen(port, TcpLimits{}, http::requestExchanges(token.value_or(""), handle));
    if (!server) {
        writeToStandardError("Tovra MCP: could not listen on port " + std::to_string(port) + "\n");
        return 1;
    }
    const bool open = token.value_or("").empty();
    writeToStandardError(
        "Tovra MCP HTTP listening on 127.0.0.1:" + std::to_string(server->port()) +
        (open ? " (no token \u2014 keep on a private network!)\n" : " (token required)\n"));

    awaitEndSignal();
    server->stop();
    beforeExit();
    // Returning would wait for the calls that are still running.
    std::_Exit(0);
}

}  // namespace tovra
