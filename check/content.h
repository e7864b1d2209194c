// What the server will see in a data document, and what in it makes reports silently wrong.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "json/json.h"
#include "store/dates.h"

namespace tovra::check {

// How often something occurs, and the first text that shows it.
struct Tally {
    std::size_t count = 0;
    std::string_view first;

    void add(std::string_view example) {
        if (count++ == 0) first = example;
    }
};

// One of the lists of the document.
struct List {
    std::string_view name = {};
    json::Value value = {};                      // absent where the document has no such member
    std::size_t count = 0;                       // how many records the server sees
    std::optional<std::size_t> firstStray = {};  // index of the first element that is no object
};

// Counts by text, the most frequent first; equal counts by the bytes of the text.
using Counts = std::vector<std::pair<std::string_view, std::size_t>>;

// Texts are views into the document, which must outlive this.
struct Content {
    std::string_view baseCurrency;
    bool namesBaseCurrency = false;                 // else the base currency is the default
    std::array<List, 4> lists;                      // accounts, transactions, budgets, goals
    std::vector<std::string_view> repeatedMembers;  // of the document itself

    std::size_t archivedAccounts = 0;
    std::vector<std::string_view> sharedIDs;             // of several accounts
    std::vector<std::string_view> repeatedAccountNames;  // without regard to letter case
    std::vector<std::string_view> repeatedGoalNames;

    Counts types;
    Counts currencies;                                 // of transactions
    std::optional<std::pair<Instant, Instant>> dates;  // the earliest and the latest
    std::size_t thisMonth = 0;                         // dated in the current month
    Tally undated;                                     // without a date that can be read
    Tally withoutAmount;                               // whose amount is no number
    Tally unusableSplits;
    Tally withoutAccount;  // that name none
    Tally unknownAccount;  // that name one that does not exist

    // Currencies of accounts and transactions without a rate, and of those with a rate that is no
    // positive number.
    std::vector<std::string_view> withoutRate;
    std::vector<std::string_view> wrongRates;
};

// Looks at a data document as the reports would at the instant `now`, in one pass over its
// transactions. May be called from several threads.
[[nodiscard]] Content survey(json::Value data, Instant now);

}  // namespace tovra::check
