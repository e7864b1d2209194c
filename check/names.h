// The names of members that the check keeps of a data document.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace tovra::check {

// The members of a transaction that are no lists, by their places among the known names.
enum class Name : std::uint32_t {
    type = 1,
    date,
    amount,
    currency,
    accountID,
    transferAccountID,
    payee,
    category,
    subcategory,
    id
};
inline constexpr std::uint32_t kTransactionNames = 11;

// How a data document is parsed for a check. All that the server does not read is dropped, so that
// a file of any kind takes little memory.
[[nodiscard]] json::Names surveyedNames();

// The place of a name that is read.
[[nodiscard]] std::uint32_t placeOf(std::string_view name);

// For the place of a known name that is written otherwise than the one that is read, in a
// transaction or in the document itself: that name, and the one that is read. Nothing for any other
// place.
using OtherCase = std::pair<std::string_view, std::string_view>;
[[nodiscard]] std::optional<OtherCase> otherCaseAt(std::uint32_t place, bool isOfTransaction);

}  // namespace tovra::check
