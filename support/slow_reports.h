// The reports, computed the slow way: the oracle. Each number is a pass of its own over all
// transactions, where a report gathers everything in one. Not for several threads.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "store/dates.h"

namespace tovra::support {

class Definitions {
  public:
    // The data document may be any value, or absent; it must outlive this. The time zone must stay.
    Definitions(json::Value data, Instant now);

    // What the tools of these names answer; the arguments may be any value as well. Where a sum is
    // no number, the sign that is printed with it is left open.
    [[nodiscard]] std::string overview() const;
    [[nodiscard]] std::string budgets() const;
    [[nodiscard]] std::string spending(json::Value arguments) const;
    [[nodiscard]] std::string listing(json::Value arguments) const;

  private:
    struct Entry {
        explicit Entry(json::Value of);
        [[nodiscard]] std::string_view text(const char* name) const;

        json::Value record;
        std::string_view type, currency, category, from, to;
        double amount;
        Instant date;
    };

    [[nodiscard]] double rate(std::string_view code) const;
    // What the transactions of this month come to for which `counts` holds, in base currency.
    [[nodiscard]] double sum(const std::function<bool(const Entry&)>& counts) const;
    [[nodiscard]] double accountBalance(json::Value account) const;

    json::Value data_;
    Instant now_;
    std::string base_, unit_;
    Period month_;
    std::vector<Entry> entries_;
};

}  // namespace tovra::support
