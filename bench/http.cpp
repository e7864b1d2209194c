#include <charconv>
#include <stdexcept>
#include <string>

#include "bench/http_load.h"
#include "bench/parts.h"
#include "bench/table.h"

namespace tovra::bench {
namespace {

constexpr std::size_t kClients = 8;
constexpr std::size_t kBlocks = 15;
constexpr std::size_t kRequestsInBlock = 500;

using support::ChildProcess;

// The port that a server names in the first line that it writes to standard error.
std::uint16_t portOf(ChildProcess& server) {
    constexpr std::string_view kBefore = "127.0.0.1:";
    const std::string line(server.receive().value_or(""));
    const std::size_t place = line.find(kBefore);
    std::uint16_t port = 0;
    if (place != std::string::npos) {
        std::from_chars(line.data() + place + kBefore.size(), line.data() + line.size(), port);
    }
    if (port == 0) throw std::runtime_error("no server on a port: " + line);
    return port;
}

// What one server made of all its blocks of requests.
class Tally {
  public:
    void add(const LoadResult& block) {
        times_.insert(times_.end(), block.times.begin(), block.times.end());
        secondsPerRequest_.emplace_back(1 / block.perSecond);
    }
    [[nodiscard]] const std::vector<Seconds>& secondsPerRequest() const {
        return secondsPerRequest_;
    }
    [[nodiscard]] std::string text() const {
        return grouped(static_cast<std::size_t>(1 / median(secondsPerRequest_).count())) +
               "/s, p50 " + timeText(percentile(times_, 50)) + ", p99 " +
               timeText(percentile(times_, 99));
    }

  private:
    std::vector<Seconds> times_;
    std::vector<Seconds> secondsPerRequest_;
};

void compareLoads(const std::string& what, std::uint16_t port, std::uint16_t constantPort,
                  const std::string& request, std::optional<Aim> aim) {
    Tally ours;
    Tally constant;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        ours.add(sendRequests(port, request, kRequestsInBlock, kClients));
        constant.add(sendRequests(constantPort, request, kRequestsInBlock, kClients));
    }
    const Comparison compared =
        compareTimes(constant.secondsPerRequest(), ours.secondsPerRequest());
    printRow(what, compared.ratio, "x constant server", aim, ours.text());
    printNote("  beside a server with a constant answer", constant.text());
}

}  // namespace

void compareHttp(const Workplace& workplace) {
    const auto file = workplace.dataFile({100, 8, 12});
    ChildProcess server({workplace.server(), "--http", "0"}, {"TOVRA_DATA_FILE=" + file.string()},
                        ChildProcess::Listen::toErrors);
    ChildProcess constantServer({workplace.constantServer()}, {}, ChildProcess::Listen::toErrors);
    const std::uint16_t port = portOf(server);
    const std::uint16_t constantPort = portOf(constantServer);

    compareLoads("HTTP ping", port, constantPort,
                 postRequest(R"({"jsonrpc":"2.0","id":1,"method":"ping"})"), atLeast(0.8));
    compareLoads("HTTP list_budgets, 100", port, constantPort,
                 postRequest(callMessage("list_budgets", "{}")), {});
}

}  // namespace tovra::bench
