#include "http/exchange.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace tovra::http {
namespace {

// What every connection may hold beside the budget: an ordinary request is answered also while
// others have taken all of it.
constexpr std::size_t kAllowance = std::size_t{16} * 1024;

constexpr std::size_t beyondAllowance(std::size_t size) {
    return size - std::min(size, kAllowance);
}

// Messages from this size on are answered one at a time: one that is nothing but brackets takes
// many times its size while it is looked at.
constexpr std::size_t kLargeMessage = std::size_t{4} * 1024 * 1024;

// The memory for the requests and responses of all connections together, in bytes.
class Budget {
  public:
    explicit Budget(std::size_t size) : left_(static_cast<std::int64_t>(size)) {}

    // One connection's part of it, given back when the object goes.
    class Share {
      public:
        explicit Share(Budget& budget) : budget_(budget) {}
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share() { changeTo(0); }

        [[nodiscard]] std::size_t size() const { return size_; }

        // False, and no change, where the budget does not have it. What needs nothing of it gets
        // that even while the budget is overdrawn.
        bool growTo(std::size_t size) {
            if (size == size_) return true;
            if (!budget_.take(static_cast<std::int64_t>(size - size_))) return false;
            size_ = size;
            return true;
        }
        // Also where the budget does not have it: others then get nothing until it has.
        void changeTo(std::size_t size) {
            budget_.left_ += static_cast<std::int64_t>(size_) - static_cast<std::int64_t>(size);
            size_ = size;
        }

      private:
        Budget& budget_;
        std::size_t size_ = 0;
    };

  private:
    bool take(std::int64_t size) {
        std::int64_t left = left_.load();
        while (left >= size) {
            if (left_.compare_exchange_weak(left, left - size)) return true;
        }
        return false;
    }

    std::atomic<std::int64_t> left_;
};

// What the exchanges of one server have in common; outlives each of them.
struct Service {
    Service(std::string itsToken, Handler itsHandler, const RequestLimits& itsLimits,
            std::size_t maxBuffered)
        : token(std::move(itsToken)),
          handle(std::move(itsHandler)),
          limits(itsLimits),
          budget(maxBuffered) {}

    const std::string token;
    const Handler handle;
    const RequestLimits limits;
    Budget budget;
    std::mutex largeMessages;  // held while one is being answered
};

class RequestExchange : public Exchange {
  public:
    explicit RequestExchange(std::shared_ptr<Service> service)
        : service_(std::move(service)),
          reader_(service_->token, service_->limits),
          share_(service_->budget) {}

    Progress receive(std::string_view bytes) override {
        refused_ = !makeRoom(buffer_.size() + bytes.size());
        if (refused_) return Progress::complete;
        buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        return reader_.examine(received()) ? Progress::complete : Progress::needMore;
    }

    std::string answer() override {
        std::unique_lock<std::mutex> turn;
        if (buffer_.size() > kLargeMessage) turn = std::unique_lock(service_->largeMessages);
        std::string response = refused_ ? httpResponse("400 Bad Request", std::nullopt, "")
                                        : reader_.processRequest(received(), service_->handle);
        std::vector<char>().swap(buffer_);
        // A client that is slow to take it must not make the server hold more than it may.
        share_.changeTo(beyondAllowance(response.size()));
        return response;
    }

  private:
    [[nodiscard]] std::string_view received() const { return {buffer_.data(), buffer_.size()}; }

    // In doubling steps up to the size of the request, never at once for what is only announced.
    bool makeRoom(std::size_t size) {
        if (size <= buffer_.capacity()) return true;
        const std::size_t room =
            std::max(size, std::min(2 * buffer_.capacity(), reader_.expectedSize()));
        if (!share_.growTo(beyondAllowance(room))) return false;
        buffer_.reserve(room);
        return true;
    }

    const std::shared_ptr<Service> service_;
    RequestReader reader_;
    Budget::Share share_;
    std::vector<char> buffer_;
    bool refused_ = false;  // the budget had no room for it
};

}  // namespace

ExchangeFactory requestExchanges(std::string token, Handler handle, const RequestLimits& limits,
                                 std::size_t maxBuffered) {
    const auto service =
        std::make_shared<Service>(std::move(token), std::move(handle), limits, maxBuffered);
    return [service] { return std::make_unique<RequestExchange>(service); };
}

}  // namespace tovra::http
