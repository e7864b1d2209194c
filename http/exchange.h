// Requests on connections: the protocol that the TCP server speaks.
#pragma once

#include <cstddef>
#include <string>

#include "http/request.h"
#include "platform/tcp_server.h"

namespace tovra::http {

// How many bytes the requests and responses of all connections may keep, beside 16 KiB each.
inline constexpr std::size_t kMostBuffered = std::size_t{64} * 1024 * 1024;

// Makes the exchange of each new connection: one request and its response. All of them together
// keep at most `maxBuffered` bytes of requests, and of responses that are still being sent; the
// request that would go beyond that is answered "400 Bad Request". An empty token means that none
// is asked for.
//
// The factory may be called from any thread; an exchange belongs to its connection.
[[nodiscard]] ExchangeFactory requestExchanges(std::string token, Handler handle,
                                               const RequestLimits& limits = {},
                                               std::size_t maxBuffered = kMostBuffered);

}  // namespace tovra::http
