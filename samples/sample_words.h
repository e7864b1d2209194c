// What the sample person's transactions, accounts, budgets and goals are called.
#pragma once

#include <span>
#include <string_view>

namespace tovra::support {

// Somebody who is paid or pays, with the range of amounts in hundredths. `weight` says how often
// one occurs; with the weight 0 it occurs once a month, on `dayOfMonth`.
struct Party {
    std::string_view payee;
    std::string_view category;
    std::string_view subcategory;
    unsigned lowest;
    unsigned highest;
    unsigned weight;
    unsigned dayOfMonth = 0;
};

struct AccountWords {
    std::string_view name;
    std::string_view type;
    std::string_view currency;
    double openingBalance;
    bool isArchived = false;
    bool countsInNetWorth = true;
};

struct BudgetWords {
    std::string_view category;
    std::string_view subcategory;
    double monthlyLimit;
};

struct GoalWords {
    std::string_view name;
    std::string_view currency;
    double target;
    double saved;
};

std::span<const Party> expenseParties();
std::span<const Party> incomeParties();
std::span<const AccountWords> accountWords();
std::span<const BudgetWords> budgetWords();
std::span<const GoalWords> goalWords();
std::span<const std::string_view> notes();
std::span<const std::string_view> tags();

}  // namespace tovra::support
