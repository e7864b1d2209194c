// A transaction of the data document. Its members are found in one walk over the record, instead of
// one search for each. Every member reads as with the lookups in store/fields.h; where a name
// occurs more than once the last one wins. Keeps views into the document.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "store/fields.h"

namespace tovra {

class Transaction {
  public:
    explicit Transaction(json::Value record);

    [[nodiscard]] std::string_view type() const { return asString(type_); }
    [[nodiscard]] std::string_view date() const { return asString(date_); }
    // In the transaction's currency, with the sign as stored.
    [[nodiscard]] double amount() const { return asNumber(amount_); }
    [[nodiscard]] std::string_view currency() const { return asString(currency_); }
    [[nodiscard]] std::string_view accountID() const { return asString(accountID_); }
    [[nodiscard]] std::string_view transferAccountID() const {
        return asString(transferAccountID_);
    }
    [[nodiscard]] std::string_view payee() const { return asString(payee_); }
    [[nodiscard]] std::string_view category() const { return asString(category_); }
    [[nodiscard]] std::string_view subcategory() const { return asString(subcategory_); }
    [[nodiscard]] json::Children splits() const { return asObjectArray(splits_); }
    // Whether the amount can be read, and whether there are splits that cannot.
    [[nodiscard]] bool hasAmount() const {
        return amount_.is(json::Kind::number) || amount_.boolean().has_value();
    }
    [[nodiscard]] bool hasUnusableSplits() const {
        return splits_.exists() && !splits_.is(json::Kind::null) && !splits_.isArrayOfObjects();
    }

    [[nodiscard]] bool isIncome() const { return isText(type(), "Income"); }
    [[nodiscard]] bool isExpense() const { return isText(type(), "Expense"); }
    [[nodiscard]] bool isTransfer() const { return isText(type(), "Transfer"); }

  private:
    // A comparison of a length known at compile time is a few instructions, any other is a call.
    template <std::size_t size>
    static bool isText(std::string_view text, const char (&wanted)[size]) {
        return text.size() == size - 1 && std::memcmp(text.data(), wanted, size - 1) == 0;
    }

    json::Value type_;
    json::Value date_;
    json::Value amount_;
    json::Value currency_;
    json::Value accountID_;
    json::Value transferAccountID_;
    json::Value payee_;
    json::Value category_;
    json::Value subcategory_;
    json::Value splits_;
};

}  // namespace tovra
