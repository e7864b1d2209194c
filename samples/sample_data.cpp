#include "samples/sample_data.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "json/json.h"
#include "platform/local_clock.h"
#include "samples/hash_order.h"
#include "samples/pretty_text.h"
#include "samples/random.h"
#include "samples/sample_transactions.h"
#include "samples/sample_words.h"
#include "store/dates.h"

namespace tovra::support {
namespace {

std::string numbered(std::string_view name, std::size_t number) {
    return std::string(name) + " " + std::to_string(number);
}

// Accounts beyond the named ones are of the same kinds again, with a number behind the name.
void appendAccount(PrettyText& out, std::size_t index, const SampleAccount& account) {
    const auto words = accountWords();
    const AccountWords& kind = words[index % words.size()];
    const std::size_t round = index / words.size();
    out.open("{");
    out.boolean(kind.isArchived, "archived");
    out.string(index % 2 == 0 ? "#2E7D32" : "#1565C0", "color");
    out.string(kind.currency, "currency");
    out.string(account.id, "id");
    if (!kind.countsInNetWorth) out.boolean(false, "includeInNetWorth");
    out.open("{", "institution");
    out.string("Everyday Bank", "name");
    out.string("•••• " + std::to_string(4021 + index), "number");
    out.close();
    out.string(round == 0 ? std::string(kind.name) : numbered(kind.name, round + 1), "name");
    out.number(kind.openingBalance, "openingBalance");
    out.number(static_cast<double>(index), "sortOrder");
    out.string(kind.type, "type");
    out.close();
}

std::vector<SampleAccount> appendAccounts(PrettyText& out, std::size_t count, Random& random) {
    const auto words = accountWords();
    std::vector<SampleAccount> accounts;
    out.open("[", "accounts");
    for (std::size_t i = 0; i < count; ++i) {
        accounts.push_back({random.uuid(), words[i % words.size()].currency});
        appendAccount(out, i, accounts.back());
    }
    out.close();
    return accounts;
}

void appendBudget(PrettyText& out, std::string_view category, std::string_view subcategory,
                  double monthlyLimit, Random& random) {
    out.open("{");
    out.string(category, "category");
    out.string(random.uuid(), "id");
    out.number(monthlyLimit, "monthlyLimit");
    out.boolean(random.chance(30), "rollover");
    if (!subcategory.empty()) out.string(subcategory, "subcategory");
    out.close();
}

void appendBudgets(PrettyText& out, std::size_t count, Random& random) {
    const auto named = budgetWords();
    const auto parties = expenseParties();
    out.open("[", "budgets");
    for (std::size_t i = 0; i < std::min(count, named.size()); ++i) {
        appendBudget(out, named[i].category, named[i].subcategory, named[i].monthlyLimit, random);
    }
    for (std::size_t i = named.size(); i < count; ++i) {
        const std::size_t further = i - named.size();
        const Party& party = parties[further % parties.size()];
        appendBudget(out, party.category,
                     versionedSubcategory(party.subcategory, further / parties.size()),
                     static_cast<double>(random.between(2, 40) * 10), random);
    }
    out.close();
}

void appendCategories(PrettyText& out) {
    out.open("[", "categories");
    for (const BudgetWords& budget : budgetWords()) {
        if (!budget.subcategory.empty()) continue;
        out.open("{");
        out.string("circle.fill", "icon");
        out.string(budget.category, "name");
        out.close();
    }
    out.close();
}

void appendRates(PrettyText& out) {
    out.open("{", "fxRates");
    out.number(1.1236, "CHF");
    out.number(1.0842, "EUR");
    out.number(1.2731, "GBP");
    out.close();
}

void appendGoals(PrettyText& out, Random& random) {
    out.open("[", "goals");
    for (const GoalWords& goal : goalWords()) {
        out.open("{");
        out.string(goal.currency, "currency");
        out.string(random.uuid(), "id");
        out.string(goal.name, "name");
        out.boolean(goal.saved >= goal.target, "reached");
        out.number(goal.saved, "saved");
        out.number(goal.target, "target");
        out.close();
    }
    out.close();
}

void appendSettings(PrettyText& out) {
    out.open("{", "settings");
    out.string("USD", "baseCurrency");
    out.number(1, "firstWeekday");
    out.open("{", "reminders");
    out.boolean(true, "bills");
    out.number(18.5, "hour");
    out.close();
    out.close();
}

}  // namespace

std::chrono::sys_days today() {
    const auto now = static_cast<std::int64_t>(currentInstant());
    return std::chrono::sys_days{std::chrono::days{dayOf(now + utcOffset(now).value_or(0))}};
}

std::string sampleData(const SampleOptions& options) {
    Random random(options.seed);
    PrettyText out;
    out.open("{");
    const std::vector<SampleAccount> accounts = appendAccounts(out, options.accounts, random);
    appendBudgets(out, options.budgets, random);
    appendCategories(out);
    appendRates(out);
    appendGoals(out, random);
    out.number(12, "schemaVersion");
    appendSettings(out);
    out.open("[", "transactions");
    appendTransactions(out, options, accounts, random);
    out.close();
    out.close();
    std::string text = out.take();
    if (options.layout == SampleLayout::sorted) return text;
    return inHashOrder(json::parse(text).value().root());
}

}  // namespace tovra::support
