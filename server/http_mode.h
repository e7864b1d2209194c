// The HTTP mode of the program.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "http/request.h"

namespace tovra {

// Serves messages on 127.0.0.1:`port` (0: a port that the system picks) until the process is told
// to end by SIGTERM, SIGINT or SIGHUP. One line on standard error says where it listens and whether
// a token is asked for; an empty token counts as none.
//
// Returns 1, after a line on standard error, where it cannot listen. Otherwise it never returns. On
// the signal it waits for the recording that is under way and lets none begin. Then it ends the
// process with status 0, whatever calls are still running.
//
// REQUIRES: the process ignores SIGPIPE, and has started no other thread: a signal that reaches one
// of those would end it at once.
int runHTTP(std::uint16_t port, const std::optional<std::string>& token,
            const http::Handler& handle);

}  // namespace tovra
