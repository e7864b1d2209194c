// Load over HTTP on this machine: several clients, a connection of its own for every request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bench/measure.h"

namespace tovra::bench {

// A POST request with this message as its body.
[[nodiscard]] std::string postRequest(std::string_view message);

struct LoadResult {
    double perSecond;
    std::vector<Seconds> times;  // of each request, from the connection to the end of the answer
};

// Sends `count` requests to 127.0.0.1:`port`, `clients` at a time. Throws std::runtime_error when
// one is not answered with the status 200.
[[nodiscard]] LoadResult sendRequests(std::uint16_t port, std::string_view request,
                                      std::size_t count, std::size_t clients);

}  // namespace tovra::bench
