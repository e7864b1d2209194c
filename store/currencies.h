// Currencies: the base currency, the rates, and the conversions between them.
#pragma once

#include <string_view>
#include <unordered_map>

#include "json/json.h"

namespace tovra {

// settings.baseCurrency of the document, unchanged even when empty; "USD" when it is no string.
[[nodiscard]] std::string_view baseCurrency(json::Value data);

// How many units of the base currency one unit of a currency is worth, by currency code.
using ExchangeRates = std::unordered_map<std::string_view, double>;

// The document's fxRates. A value that is no number is an entry with the rate 0, which is not the
// same as no entry.
[[nodiscard]] ExchangeRates fxRates(json::Value data);

// The currencies of one data document, looked up once for a whole call. Codes are compared exactly.
// Keeps views into the document, which must outlive it. Reading is safe from several threads.
class Currencies {
  public:
    explicit Currencies(json::Value data) : base_(baseCurrency(data)), rates_(fxRates(data)) {}

    [[nodiscard]] std::string_view base() const { return base_; }

    // 1 for the base currency and for a currency without an entry; else its entry, even 0.
    [[nodiscard]] double rateToBase(std::string_view currency) const;

    // The amount in base currency: amount x rate to base, unrounded.
    [[nodiscard]] double convertToBase(double amount, std::string_view currency) const {
        return amount * rateToBase(currency);
    }

    // The amount converted through the base currency, unrounded; unchanged when both codes are the
    // same or the rate of `to` is 0.
    [[nodiscard]] double convert(double amount, std::string_view from, std::string_view to) const;

  private:
    std::string_view base_;
    ExchangeRates rates_;
};

}  // namespace tovra
