#include "http/exchange.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace tovra::http {
namespace {

// Requests larger than this are answered one at a time. A message of short numbers or brackets
// takes many times its size in memory.
constexpr std::size_t kLargeMessage = std::size_t{64} * 1024;

// What the exchanges of one server have in common; outlives each of them.
struct Service {
    const std::string token;
    const Handler handle;
    const RequestLimits limits;
    std::mutex largeMessages;  // held while one is being answered
};

class RequestExchange : public Exchange {
  public:
    RequestExchange(std::shared_ptr<Service> service, std::uint16_t port)
        : service_(std::move(service)), reader_(port, service_->token, service_->limits) {}

    bool isWhole(std::string_view received) override { return reader_.examine(received); }
    [[nodiscard]] std::size_t expectedSize() const override { return reader_.expectedSize(); }

    std::string answer(std::string_view received) override {
        std::unique_lock turn(service_->largeMessages, std::defer_lock);
        if (received.size() > kLargeMessage) turn.lock();
        return reader_.processRequest(received, service_->handle);
    }

  private:
    const std::shared_ptr<Service> service_;
    RequestReader reader_;
};

}  // namespace

ExchangeFactory requestExchanges(std::string token, Handler handle, const RequestLimits& limits) {
    const std::shared_ptr<Service> service(
        new Service{std::move(token), std::move(handle), limits, {}});
    return
        [service](std::uint16_t port) { return std::make_unique<RequestExchange>(service, port); };
}

}  // namespace tovra::http
