#include "store/currencies.h"

#include "store/fields.h"

namespace tovra {

std::string_view baseCurrency(json::Value data) {
    return objectField(data, "settings").member("baseCurrency").string().value_or("USD");
}

ExchangeRates fxRates(json::Value data) {
    const json::Value table = objectField(data, "fxRates");
    ExchangeRates rates;
    for (const json::Value entry : table.children()) rates[entry.name()] = asNumber(entry);
    return rates;
}

double Currencies::rateToBase(std::string_view currency) const {
    if (currency == base_) return 1;
    const auto entry = rates_.find(currency);
    return entry == rates_.end() ? 1 : entry->second;
}

double Currencies::convert(double amount, std::string_view from, std::string_view to) const {
    if (from == to) return amount;
    const double divisor = rateToBase(to);
    if (divisor == 0) return amount;
    return amount * rateToBase(from) / divisor;
}

}  // namespace tovra
