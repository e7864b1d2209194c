#include "support/slow_reports.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <utility>

#include "platform/unicode.h"
#include "store/currencies.h"
#include "store/fields.h"

namespace tovra::support {
namespace {

constexpr Instant kNever = -HUGE_VAL;  // the date of what has none

// Puts amounts down with two decimals.
struct Text : std::ostringstream {
    explicit Text(const char* start = "") {
        precision(2), setf(fixed);
        *this << start;
    }
};

Instant dateOf(std::string_view text) {
    DayFormatter forgetful;  // a new one, which has no day to mix up with this one
    return parseDate(text, forgetful).value_or(kNever);
}

bool isSame(std::string_view a, std::string_view b) { return a == b || composed(a) == composed(b); }

// Sums that are no numbers stand last.
double rank(double total) { return std::isnan(total) ? -HUGE_VAL : total; }

}  // namespace

Definitions::Entry::Entry(json::Value of)
    : record(of),
      type(text("type")),
      currency(text("currency")),
      category(text("category")),
      from(text("accountID")),
      to(text("transferAccountID")),
      amount(numberField(of, "amount")),
      date(dateOf(text("date"))) {}

std::string_view Definitions::Entry::text(const char* name) const {
    return stringField(record, name);
}

Definitions::Definitions(json::Value data, Instant now)
    : data_(data), now_(now), base_(baseCurrency(data)), unit_(base_ + " "), month_(monthOf(now)) {
    for (const json::Value it : objectArrayField(data, "transactions")) entries_.emplace_back(it);
}

std::string Definitions::overview() const {
    Text text("Base currency: ");
    Text lines;
    double worth = 0;
    for (const json::Value account : objectArrayField(data_, "accounts")) {
        if (boolField(account, "archived") == true) continue;
        const std::string_view currency = stringField(account, "currency");
        const std::string_view type = stringField(account, "type");
        const double balance = accountBalance(account);
        double value = balance * rate(currency);
        if (type == "Credit Card" || type == "Loan") value = -std::fabs(value);
        if (boolField(account, "includeInNetWorth") != false) worth += value;
        lines << "\n  • " << stringField(account, "name") << ": " << currency << " " << balance;
    }
    const double income = sum([](const Entry& it) { return it.type == "Income"; });
    const double spending = sum([](const Entry& it) { return it.type == "Expense"; });
    text << base_ << "\nNet worth: " << unit_ << worth << "\nThis month — income: " << unit_
         << income << ", spending: " << unit_ << spending << ", net: " << unit_ << income - spending
         << (lines.str().empty() ? "" : "\nAccounts:") << lines.str();
    return text.str();
}

std::string Definitions::budgets() const {
    const json::Children budgets = objectArrayField(data_, "budgets");
    if (budgets.empty()) return "No budgets set.";
    Text text("Budgets this month:");
    for (const json::Value budget : budgets) {
        const std::string_view category = stringField(budget, "category");
        const std::string_view part = stringField(budget, "subcategory");
        const double limit = numberField(budget, "monthlyLimit");
        const double spent = sum([&](const Entry& it) {
            return it.type == "Expense" && isSame(it.category, category) &&
                   (part.empty() || isSame(it.text("subcategory"), part));
        });
        text << "\n  • " << category << (part.empty() ? "" : " › ") << part << ": " << unit_
             << spent << " / " << unit_ << limit << " (" << unit_;
        limit - spent < 0 ? text << spent - limit << " over)" : text << limit - spent << " left)";
    }
    return text.str();
}

std::string Definitions::spending(json::Value arguments) const {
    const auto asked = positiveWholeNumberField(arguments, "days");
    const std::int64_t days = asked && daysAgo(*asked, now_) ? *asked : 30;
    std::vector<std::pair<std::string_view, double>> totals;
    const auto totalOf = [&](std::string_view category) -> double& {
        for (auto& [name, total] : totals) {
            if (isSame(name, category)) return total;
        }
        return totals.emplace_back(category, 0).second;
    };
    for (const Entry& it : entries_) {
        if (it.type != "Expense" || it.date < daysAgo(days, now_)) continue;
        const json::Children splits = objectArrayField(it.record, "splits");
        if (splits.empty()) totalOf(it.category) += it.amount * rate(it.currency);
        for (const json::Value split : splits) {
            double& total = totalOf(stringField(split, "category"));
            total += numberField(split, "amount") * rate(it.currency);
        }
    }
    Text text;
    text << (totals.empty() ? "No spending in the last " : "Spending by category (last ") << days
         << (totals.empty() ? " days." : " days):");
    std::sort(totals.begin(), totals.end());
    std::stable_sort(totals.begin(), totals.end(),
                     [](const auto& a, const auto& b) { return rank(a.second) > rank(b.second); });
    for (const auto& [category, total] : totals) {
        text << "\n  • " << category << ": " << unit_ << total;
    }
    return text.str();
}

std::string Definitions::listing(json::Value arguments) const {
    const auto limit = positiveWholeNumberField(arguments, "limit").value_or(20);
    const auto days = positiveWholeNumberField(arguments, "days");
    const auto earliest = days ? daysAgo(*days, now_) : std::nullopt;
    const std::string_view type = stringField(arguments, "type");
    const std::string search = searchForm(stringField(arguments, "search"));
    const auto isHidden = [&](const Entry& it) {
        const bool isFound = searchForm(it.text("payee")).find(search) != std::string::npos ||
                             searchForm(it.category).find(search) != std::string::npos;
        return (!type.empty() && type != "All" && it.type != type) ||
               (!search.empty() && !isFound) || (it.date != kNever && it.date < earliest);
    };
    std::vector<Entry> found = entries_;
    std::erase_if(found, isHidden);
    if (found.empty()) return "No matching transactions.";

    std::stable_sort(found.begin(), found.end(),
                     [](const Entry& a, const Entry& b) { return a.date > b.date; });
    const std::size_t count = std::min(found.size(), static_cast<std::size_t>(limit));
    Text text("Showing ");
    text << count << " of " << found.size() << ":";
    for (std::size_t i = 0; i < count; ++i) {
        const Entry& it = found[i];
        const std::string_view payee = it.text("payee");
        text << "\n"
             << (it.date == kNever ? "?" : DayFormatter().format(it.date))
             << (it.type == "Expense" ? "  −" : "  +") << it.currency << " " << it.amount << "  "
             << (payee.empty() ? it.category : payee) << " [" << it.category << "]";
    }
    return text.str();
}

double Definitions::rate(std::string_view code) const {
    const json::Value table = objectField(data_, "fxRates");
    return code != base_ && table.member(code).exists() ? numberField(table, code) : 1;
}

double Definitions::sum(const std::function<bool(const Entry&)>& counts) const {
    double total = 0;
    for (const Entry& it : entries_) {
        const bool inMonth = month_.start() <= it.date && it.date < month_.end();
        if (inMonth && counts(it)) total += it.amount * rate(it.currency);
    }
    return total;
}

double Definitions::accountBalance(json::Value account) const {
    const std::string_view id = stringField(account, "id");
    const std::string_view code = stringField(account, "currency");
    double balance = numberField(account, "openingBalance");
    for (const Entry& it : entries_) {
        const bool asItIs = it.currency == code || rate(code) == 0;
        const double amount = asItIs ? it.amount : it.amount * rate(it.currency) / rate(code);
        if (it.type == "Income" && it.from == id) balance += amount;
        if ((it.type == "Expense" || it.type == "Transfer") && it.from == id) balance -= amount;
        if (it.type == "Transfer" && it.to == id) balance += amount;
    }
    return balance;
}

}  // namespace tovra::support
