// The members of a transaction that balances and totals read, read once.
#pragma once

#include <string_view>

#include "store/fields.h"

namespace tovra {

// Views into the document. The amount is in `currency`, with the sign as stored.
struct Transaction {
    explicit Transaction(json::Value record_)
        : record(record_),
          type(stringField(record_, "type")),
          currency(stringField(record_, "currency")),
          amount(numberField(record_, "amount")) {}

    [[nodiscard]] bool isIncome() const { return type == "Income"; }
    [[nodiscard]] bool isExpense() const { return type == "Expense"; }
    [[nodiscard]] bool isTransfer() const { return type == "Transfer"; }

    json::Value record;
    std::string_view type;
    std::string_view currency;
    double amount;
};

}  // namespace tovra
