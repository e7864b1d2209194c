// What the server will see in a data document, and what in it makes reports silently wrong.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "check/findings.h"
#include "json/json.h"
#include "store/dates.h"

namespace tovra::check {

// Counts by text, the most frequent first; equal counts by the bytes of the text.
using Counts = std::vector<std::pair<std::string_view, std::size_t>>;

// Texts are views into the document, which must outlive this.
struct Content {
    std::string_view baseCurrency;
    bool namesBaseCurrency = false;  // else the base currency is the default
    // The lists, and how many records the server sees in each.
    std::array<std::pair<std::string_view, std::size_t>, 4> lists = {
        {{"accounts", 0}, {"transactions", 0}, {"budgets", 0}, {"goals", 0}}};
    std::size_t archivedAccounts = 0;

    // Of transactions.
    Counts types;
    Counts currencies;
    std::optional<std::pair<Instant, Instant>> dates;  // the earliest and the latest
    std::size_t thisMonth = 0;                         // dated in the current month
    std::size_t undated = 0;

    std::vector<Finding> findings;
};

// Looks at a data document as the reports would at the instant `now`, in one pass over its
// transactions. REQUIRES: it was parsed with surveyedNames(). May be called from several threads.
[[nodiscard]] Content survey(json::Value data, Instant now);

}  // namespace tovra::check
