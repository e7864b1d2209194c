#include "bench/http_load.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include "support/loopback_client.h"

namespace tovra::bench {
namespace {

bool isAnswered(std::uint16_t port, std::string_view request) {
    const support::LoopbackClient client(port);
    return client.send(request).receive().value_or("").starts_with("HTTP/1.1 200 ");
}

}  // namespace

std::string postRequest(std::string_view message) {
    return "POST /mcp HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n"
           "Accept: application/json\r\nContent-Length: " +
           std::to_string(message.size()) + "\r\n\r\n" + std::string(message);
}

LoadResult sendRequests(std::uint16_t port, std::string_view request, std::size_t count,
                        std::size_t clients) {
    LoadResult result{0, std::vector<Seconds>(count)};
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> failed{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            result.times[i] = timed([&] {
                if (!isAnswered(port, request)) ++failed;
            });
        }
    };
    const Seconds whole = timed([&] {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < clients; ++i) threads.emplace_back(work);
        for (std::thread& thread : threads) thread.join();
    });
    if (failed > 0) throw std::runtime_error("requests over HTTP without the answer 200");
    result.perSecond = static_cast<double>(count) / whole.count();
    return result;
}

}  // namespace tovra::bench
