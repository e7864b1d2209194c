// The lookups: the only way in which a member of the data document or of a tool's arguments is
// read. None of them fails; a member that is missing or holds another JSON type gives the default.
// Pure functions; may be called from several threads.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "json/json.h"

namespace tovra {

// The members of a transaction that are read, by their places in kFieldNames.
enum class TransactionField : std::uint8_t {
    type = 1,
    date,
    amount,
    currency,
    accountID,
    transferAccountID,
    payee,
    category,
    subcategory,
    splits
};

// The names that are looked up. `transactions`, and in them the members above, may be left out of
// a document; `splits` and the names behind it are kept with all that is in them.
inline constexpr std::array<std::string_view, 16> kFieldNames = {
    "transactions",      "type",    "date",     "amount",      "currency", "accountID",
    "transferAccountID", "payee",   "category", "subcategory", "splits",   "accounts",
    "budgets",           "fxRates", "goals",    "settings"};

// How a data document is parsed for a report that reads these members of transactions. All others
// are dropped, and the transactions themselves where it reads none.
[[nodiscard]] constexpr json::Names reportedFields(std::initializer_list<TransactionField> fields) {
    const auto bit = [](auto place) { return std::uint64_t{1} << static_cast<unsigned>(place); };
    constexpr auto kFirstWhole = static_cast<std::uint32_t>(TransactionField::splits);
    std::uint64_t kept = 0;
    for (std::size_t i = kFirstWhole + 1; i < kFieldNames.size(); ++i) kept |= bit(i);
    for (const TransactionField field : fields) kept |= bit(field) | bit(0);
    return {kFieldNames, kept, kFirstWhole};
}

// How a data document is parsed of which everything is kept.
[[nodiscard]] constexpr json::Names allFields() { return {.known = kFieldNames}; }

// The text of a JSON string; empty by default. A view into the document.
[[nodiscard]] std::string_view stringField(json::Value object, std::string_view name);

// A JSON number as a double, true as 1 and false as 0; 0 by default. A number beyond the largest
// double is infinite.
[[nodiscard]] double numberField(json::Value object, std::string_view name);

// A JSON boolean; nothing by default, also for the numbers 0 and 1.
[[nodiscard]] std::optional<bool> boolField(json::Value object, std::string_view name);

// A JSON object; by default an absent value, which reads like an empty object.
[[nodiscard]] json::Value objectField(json::Value object, std::string_view name);

// The elements of a JSON array whose elements are all objects; none by default, also when a single
// element is no object.
[[nodiscard]] json::Children objectArrayField(json::Value object, std::string_view name);

// The first object of that name in such an array, without regard to letter case and composition;
// absent where there is none.
[[nodiscard]] json::Value namedObject(json::Value object, std::string_view array,
                                      std::string_view name);

// The same for a value that is already at hand.
[[nodiscard]] inline std::string_view asString(json::Value value) {
    return value.string().value_or(std::string_view());
}
[[nodiscard]] inline double asNumber(json::Value value) {
    if (const auto number = value.number()) return *number;
    return value.is(json::Kind::trueValue) ? 1 : 0;
}
[[nodiscard]] json::Children asObjectArray(json::Value value);

// A number, read like numberField and truncated toward zero. Nothing where that gives less than 1,
// or does not fit a signed 64-bit integer.
[[nodiscard]] std::optional<std::int64_t> positiveWholeNumberField(json::Value object,
                                                                   std::string_view name);

// The value truncated toward zero; nothing where that does not fit a signed 64-bit integer.
[[nodiscard]] std::optional<std::int64_t> truncated(double value);

}  // namespace tovra
