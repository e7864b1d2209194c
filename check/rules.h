// What the check looks for in each record of the lists.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "check/findings.h"
#include "json/json.h"

namespace tovra::check {

// What a reader of a member makes something of.
enum class Wants : std::uint8_t { text, truth, number, positiveNumber };

// A member that reports read, and what they make of it where it is something else.
struct Field {
    std::string_view list;  // "splits" are those of transactions
    std::string_view member;
    Wants wants;
    bool isNeeded;  // missing is as wrong as another type
    std::string_view effect;
};

inline constexpr auto kFields = std::to_array<Field>({
    {"accounts", "id", Wants::text, true, "Whatever names no account counts for it."},
    {"accounts", "name", Wants::text, true, "Shown without a name."},
    {"accounts", "type", Wants::text, false, "Counted as an asset."},
    {"accounts", "currency", Wants::text, true, "Taken as the empty code."},
    {"accounts", "openingBalance", Wants::number, false, "Counted as 0."},
    {"accounts", "archived", Wants::truth, false, "The account is shown."},
    {"accounts", "includeInNetWorth", Wants::truth, false, "The account counts."},
    {"budgets", "category", Wants::text, true, "It limits what has no category."},
    {"budgets", "subcategory", Wants::text, false, "It limits the whole category."},
    {"budgets", "monthlyLimit", Wants::positiveNumber, true, "The limit is shown as 0."},
    {"goals", "name", Wants::text, true, "Shown without a name."},
    {"goals", "currency", Wants::text, true, "Shown without a currency."},
    {"goals", "target", Wants::positiveNumber, true, "The progress is always 0%."},
    {"goals", "saved", Wants::number, false, "Counted as 0; what is added starts from there."},
    {"transactions", "amount", Wants::positiveNumber, true, "Counted as 0."},
    {"transactions", "currency", Wants::text, true, "Taken as the empty code."},
    {"transactions", "accountID", Wants::text, false, "Taken as none."},
    {"transactions", "transferAccountID", Wants::text, false, "Taken as none."},
    {"transactions", "payee", Wants::text, false, "Shown without a payee."},
    {"transactions", "category", Wants::text, false, "Counted without a category."},
    {"transactions", "subcategory", Wants::text, false, "Counted without a subcategory."},
    {"splits", "category", Wants::text, true, "Counted without a category."},
    {"splits", "amount", Wants::positiveNumber, true, "Counted as 0."},
});

// What can be wrong with a field.
enum class Wrong : std::uint8_t { type, truth, tooLarge, negative };
inline constexpr std::size_t kWrongs = 4;

// What else can be wrong with a transaction.
enum class Rule : std::uint8_t {
    noDate,
    oddDate,
    future,
    unknownType,
    noSplits,
    splitsSum,
    noAccount,
    halfTransfer,
    selfTransfer,
    unknownAccount,
    repeatedMember,
    repeatedID,
    twin
};

struct RuleText {
    Level level;
    std::string_view about;
    std::string_view what;
    std::string_view effect;
};

// By the numbers of the rules above.
inline constexpr auto kRules = std::to_array<RuleText>({
    {Level::warning, "no-date", "Without a date that can be read",
     "Left out of every month and period. Dates are written as 2026-11-16 or "
     "2026-11-16T19:00:34Z."},
    {Level::warning, "odd-date", "Dated before 1900, or more than a year ahead",
     "Is the year right?"},
    {Level::note, "future", "Dated more than a day ahead",
     "Balances and the totals of the last days count them already."},
    {Level::warning, "unknown-type", "Neither Income, Expense nor Transfer",
     "Left out of balances and totals. Letter case counts."},
    {Level::warning, "no-splits", "With splits that are no list of objects", "Counted as a whole."},
    {Level::note, "splits-sum", "With splits that add up to something else than the amount",
     "Spending by category counts the parts, everything else the amount."},
    {Level::note, "no-account", "Naming no account",
     "Left out of all balances, as what is recorded without an account."},
    {Level::warning, "half-transfer", "Transfers that name one account only",
     "They change the balance of that one only."},
    {Level::note, "self-transfer", "Transfers from an account to itself", "They change nothing."},
    {Level::warning, "unknown-account", "Naming an account that does not exist",
     "Left out of its balance. Ids are compared letter by letter."},
    {Level::warning, "repeated-member", "With a member that occurs twice",
     "Only the last one counts."},
    {Level::warning, "repeated-id", "With the id of one before",
     "Each of them counts: delete those that are copies."},
    {Level::warning, "twin", "With the day, amount, payee and account of one before",
     "Each of them counts: was something imported twice?"},
});

// A record that shows what is wrong.
struct Example {
    std::size_t number;      // its place in its list, counted from 1
    std::string_view label;  // its payee, name or category
    std::string_view day;    // of a transaction: its date as it stands
    // What is wrong in it; absent where it is missing. Nothing where it is no single value.
    std::optional<json::Value> value = {};
};

// How often something occurs, and the first records that show it.
struct Tally {
    static constexpr std::size_t kShown = 3;
    std::size_t count = 0;
    std::vector<Example> first;

    void add(const Example& example) {
        if (count++ < kShown) first.push_back(example);
    }
};

// What is wrong with the records of the lists. Not for several threads.
class Tallies {
  public:
    Tally& operator[](Rule rule) { return rules_[static_cast<std::size_t>(rule)]; }
    // Looks at a member that is one of kFields.
    void look(std::size_t field, json::Value value, const Example& example);
    // Looks at all that kFields have for an object in that list.
    void look(std::string_view list, json::Value object, const Example& example);
    // Says what was wrong. `transactions` is how many there are.
    void tell(Findings& findings, std::size_t transactions) const;

  private:
    std::array<std::array<Tally, kWrongs>, kFields.size()> fields_;
    std::array<Tally, kRules.size()> rules_;
};

}  // namespace tovra::check
