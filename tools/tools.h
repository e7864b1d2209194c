// The operations of the tools, one file each: load the data document, compute, lay out the text.
//
// A tool knows neither who asks nor how the answer travels. A report does not fail on what is
// missing or malformed in the arguments or the data file: that takes its default. `now` is the
// instant that counts as the present. All may be called from several threads, and throw
// std::bad_alloc.
#pragma once

#include <string>

#include "json/json.h"
#include "store/dates.h"

namespace tovra {

// Net worth, this month's income and spending, and the balance of every account that is not
// archived.
[[nodiscard]] std::string toolOverview(Instant now = currentInstant());

// Transactions, newest first. Arguments: limit, type, search, days.
[[nodiscard]] std::string toolListTransactions(json::Value arguments,
                                               Instant now = currentInstant());

// What was spent per category in the last days. Argument: days.
[[nodiscard]] std::string toolSpendingByCategory(json::Value arguments,
                                                 Instant now = currentInstant());

// This month's spending against each budget.
[[nodiscard]] std::string toolListBudgets(Instant now = currentInstant());

// The savings goals with their progress.
[[nodiscard]] std::string toolListGoals();

// The two recording tools return their confirmation, or a text that begins with "Error: " when the
// arguments name nothing to record. They throw RecordingError when nothing could be saved.

// Appends a transaction. Arguments: amount, payee, category, type, currency, date, note, account.
[[nodiscard]] std::string toolAddTransaction(json::Value arguments, Instant now = currentInstant());

// Adds money to a savings goal. Arguments: goal, amount.
[[nodiscard]] std::string toolAddToGoal(json::Value arguments);

}  // namespace tovra
