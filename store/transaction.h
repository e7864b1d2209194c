// A transaction of the data document. Its members are found in one walk over the record, instead of
// one search for each. Every member reads as with the lookups in store/fields.h; where a name
// occurs more than once the last one wins. Keeps views into the document.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "store/fields.h"

namespace tovra {

class Transaction {
  public:
    // REQUIRES: the document was parsed with kFieldNames. A member may be asked for that was not
    // dropped there.
    explicit Transaction(json::Value record) : members_(record.children()) {
        std::uint32_t place = 0;
        for (const json::Value member : members_) {
            ++place;
            const std::uint32_t index = member.nameIndex();
            if (index < places_.size()) places_[index] = place;
        }
    }

    [[nodiscard]] std::string_view type() const { return asString(field(Field::type)); }
    [[nodiscard]] std::string_view date() const { return asString(field(Field::date)); }
    // In the transaction's currency, with the sign as stored.
    [[nodiscard]] double amount() const { return asNumber(field(Field::amount)); }
    [[nodiscard]] std::string_view currency() const { return asString(field(Field::currency)); }
    [[nodiscard]] std::string_view accountID() const { return asString(field(Field::accountID)); }
    [[nodiscard]] std::string_view transferAccountID() const {
        return asString(field(Field::transferAccountID));
    }
    [[nodiscard]] std::string_view payee() const { return asString(field(Field::payee)); }
    [[nodiscard]] std::string_view category() const { return asString(field(Field::category)); }
    [[nodiscard]] std::string_view subcategory() const {
        return asString(field(Field::subcategory));
    }
    [[nodiscard]] json::Children splits() const { return asObjectArray(field(Field::splits)); }
    // Whether the amount can be read, and whether there are splits that cannot.
    [[nodiscard]] bool hasAmount() const {
        return field(Field::amount).is(json::Kind::number) ||
               field(Field::amount).boolean().has_value();
    }
    [[nodiscard]] bool hasUnusableSplits() const {
        const json::Value splits = field(Field::splits);
        return splits.exists() && !splits.is(json::Kind::null) && !splits.isArrayOfObjects();
    }

    [[nodiscard]] bool isIncome() const { return isText(type(), "Income"); }
    [[nodiscard]] bool isExpense() const { return isText(type(), "Expense"); }
    [[nodiscard]] bool isTransfer() const { return isText(type(), "Transfer"); }

  private:
    using Field = TransactionField;

    // A comparison of a length known at compile time is a few instructions, any other is a call.
    template <std::size_t size>
    static bool isText(std::string_view text, const char (&wanted)[size]) {
        return text.size() == size - 1 && std::memcmp(text.data(), wanted, size - 1) == 0;
    }

    [[nodiscard]] json::Value field(Field field) const {
        const auto index = static_cast<std::uint32_t>(field);
        assert(members_.empty() || members_.names().known.data() == kFieldNames.data());
        assert(members_.empty() || members_.names().keep(index));
        const std::uint32_t place = places_[index];
        return place == 0 ? json::Value() : members_[place - 1];
    }

    json::Children members_;
    // The places of the members above, counted from 1; 0: there is no such member.
    std::array<std::uint32_t, static_cast<std::size_t>(Field::splits) + 1> places_{};
};

}  // namespace tovra
