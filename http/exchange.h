// Requests on connections: the protocol that the TCP server speaks.
#pragma once

#include <string>

#include "http/request.h"
#include "http/tcp_server.h"

namespace tovra::http {

// Makes the exchange of each new connection: one request and its response. An empty token means
// that none is asked for.
//
// The factory may be called from any thread; an exchange belongs to its connection.
[[nodiscard]] ExchangeFactory requestExchanges(std::string token, Handler handle,
                                               const RequestLimits& limits = {});

}  // namespace tovra::http
