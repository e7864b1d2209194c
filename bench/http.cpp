#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/http_load.h"
#include "bench/parts.h"
#include "bench/table.h"
#include "support/loopback_client.h"

namespace tovra::bench {
namespace {

constexpr std::size_t kBlocks = 15;
constexpr std::size_t kRequestsInBlock = 500;

using support::ChildProcess;

// The port that a server names in the first line that it writes to standard error.
std::uint16_t portOf(ChildProcess& server) {
    const std::string line(server.receive().value_or(""));
    const std::uint16_t port = support::portNamedIn(line);
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
                  const std::string& request, std::size_t clients, std::optional<Aim> aim) {
    Tally ours;
    Tally constant;
    for (std::size_t i = 0; i < kBlocks; ++i) {
        ours.add(sendRequests(port, request, kRequestsInBlock, clients));
        constant.add(sendRequests(constantPort, request, kRequestsInBlock, clients));
    }
    const Comparison compared =
        compareTimes(constant.secondsPerRequest(), ours.secondsPerRequest());
    printRow(what, compared.ratio, "x constant server", aim, ours.text());
    printNote("  beside a server with a constant answer", constant.text());
}

const std::string kPing = postRequest(R"({"jsonrpc":"2.0","id":1,"method":"ping"})");

// What a process holds at the moment.
std::string holdings(pid_t id) {
    const std::string process = "/proc/" + std::to_string(id);
    std::size_t pages = 0;
    std::ifstream(process + "/statm") >> pages >> pages;
    const std::filesystem::directory_iterator descriptors(process + "/fd");
    const auto bytes = static_cast<double>(pages) * static_cast<double>(::sysconf(_SC_PAGESIZE));
    return decimals(bytes / 1e6) + " MB, " +
           std::to_string(std::distance(begin(descriptors), end(descriptors))) + " descriptors";
}

void measureLoad(const std::string& what, const ChildProcess& server, std::uint16_t port) {
    constexpr std::size_t kManyClients = 32;
    const std::string before = holdings(server.id());
    const LoadResult load = sendRequests(port, kPing, 20'000, kManyClients);
    printRow(what, percentile(load.times, 99).count() * 1e3, "ms p99", {},
             grouped(static_cast<std::size_t>(load.perSecond)) + "/s, p50 " +
                 timeText(percentile(load.times, 50)));
    printNote("  what the server holds before and after", before + "; " + holdings(server.id()));
}

// Clients that send a byte now and then.
class SlowClients {
  public:
    SlowClients(std::uint16_t port, std::size_t count) {
        while (clients_.size() < count) clients_.emplace_back(port);
    }
    SlowClients(const SlowClients&) = delete;
    SlowClients& operator=(const SlowClients&) = delete;
    ~SlowClients() {
        done_ = true;
        dripping_.join();
    }

  private:
    void drip() {
        while (!done_) {
            for (const support::LoopbackClient& client : clients_) client.send("x");
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    }

    std::deque<support::LoopbackClient> clients_;
    std::atomic<bool> done_ = false;
    std::thread dripping_{[this] { drip(); }};
};

// The longest that a request takes while others only keep connections open.
void measureBesideIdle(std::uint16_t port) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    std::deque<support::LoopbackClient> idle;
    for (const std::size_t count : {300U, 1'000U, 5'000U}) {
        while (idle.size() < count) idle.emplace_back(port);
        const LoadResult load = sendRequests(port, kPing, 200, 1);
        printRow("HTTP ping beside " + grouped(count) + " idle connections",
                 std::max_element(load.times.begin(), load.times.end())->count() * 1e3,
                 "ms at most", atMost(250), "p50 " + timeText(percentile(load.times, 50)));
    }
}

}  // namespace

void compareHttp(const Workplace& workplace) {
    const auto file = workplace.dataFile({100, 8, 12});
    ChildProcess server({workplace.server(), "--http", "0"}, {"TOVRA_DATA_FILE=" + file.string()},
                        ChildProcess::Listen::toErrors);
    ChildProcess constantServer({workplace.constantServer()}, {}, ChildProcess::Listen::toErrors);
    const std::uint16_t port = portOf(server);
    const std::uint16_t constantPort = portOf(constantServer);

    for (const std::size_t clients : {1U, 8U, 32U}) {
        compareLoads("HTTP ping, clients at a time: " + std::to_string(clients), port, constantPort,
                     kPing, clients, atLeast(0.8));
    }
    compareLoads("HTTP list_budgets, 100", port, constantPort,
                 postRequest(callMessage("list_budgets", "{}")), 8, {});

    measureLoad("HTTP ping, 20,000 requests of 32 clients", server, port);
    {
        const SlowClients slow(port, 200);
        measureLoad("HTTP ping, the same beside 200 slow clients", server, port);
    }
    measureBesideIdle(port);
}

}  // namespace tovra::bench
