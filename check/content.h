// What the server will see in a data document, and what in it makes reports silently wrong.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "check/names.h"
#include "check/rules.h"
#include "json/json.h"
#include "store/dates.h"

namespace tovra::check {

// One of the lists of the document.
struct List {
    std::string_view name = {};
    json::Value value = {};                      // absent where the document has no such member
    std::size_t count = 0;                       // how many records the server sees
    std::optional<std::size_t> firstStray = {};  // index of the first element that is no object
};

// Counts by text, the most frequent first; equal counts by the bytes of the text.
using Counts = std::vector<std::pair<std::string_view, std::size_t>>;

using Texts = std::vector<std::string_view>;
// A text, and another one that it is close to.
using Pairs = std::vector<std::pair<std::string_view, std::string_view>>;

// What is wrong with the records of the lists.
struct Tallies {
    std::array<std::array<Tally, kWrongs>, kFields.size()> fields;
    std::array<Tally, kRules.size()> rules;

    Tally& operator[](Rule rule) { return rules[static_cast<std::size_t>(rule)]; }
    // Looks at the fields of an object in that list.
    void look(std::string_view list, json::Value object, const Example& example);
    void look(std::size_t field, json::Value value, Example example);
};

// Texts are views into the document, which must outlive this.
struct Content {
    std::string_view baseCurrency;
    bool namesBaseCurrency = false;    // else the base currency is the default
    std::array<List, 4> lists;         // accounts, transactions, budgets, goals
    Texts notObjects;                  // settings and fxRates that are none
    json::Value wrongBaseCurrency;     // that is no text; else absent
    Texts repeatedMembers;             // of the document itself
    std::vector<OtherCase> otherCase;  // names of members

    std::size_t archivedAccounts = 0;
    Pairs accountTypes;          // that are close to a liability's, and that
    Texts sharedIDs;             // of several accounts
    Texts repeatedAccountNames;  // without regard to letter case
    Texts repeatedGoalNames;
    Texts repeatedBudgets;     // categories, or subcategories where they have one
    Pairs budgetsInOtherCase;  // their categories, and what expenses have
    Texts budgetsOfSplits;     // of categories that only splits have
    Texts unusedBudgets;       // of categories that no expense has

    Counts types;
    Counts currencies;                                 // of transactions
    std::optional<std::pair<Instant, Instant>> dates;  // the earliest and the latest
    std::size_t thisMonth = 0;                         // dated in the current month
    std::size_t undated = 0;
    Tallies tallies;

    // Currencies of accounts and transactions without a rate, with the code of a rate in other
    // letter case, if there is one; and those with a rate that is no positive number.
    Pairs withoutRate;
    Texts wrongRates;
    bool hasRateOfBase = false;  // that is not 1
};

// Looks at a data document as the reports would at the instant `now`, in one pass over its
// transactions. REQUIRES: it was parsed with surveyedNames(). May be called from several threads.
[[nodiscard]] Content survey(json::Value data, Instant now);

}  // namespace tovra::check
