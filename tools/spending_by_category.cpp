#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/unicode.h"
#include "store/currencies.h"
#include "store/data_file.h"
#include "store/dates.h"
#include "store/lookup_cache.h"
#include "store/money.h"
#include "store/transaction.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using Field = TransactionField;

constexpr std::int64_t kDefaultDays = 30;

using CategoryTotal = std::pair<std::string_view, double>;

// What was spent on each category, in base currency. Its name is printed as it came first.
class CategoryTotals {
  public:
    double& operator[](std::string_view name) {
        const auto lookUp = [&](std::string_view it) {
            return &totals_.try_emplace(composed_(it), it, 0).first->second.second;
        };
        return *found_.find(name, lookUp);
    }
    // The largest total first; equal totals by the bytes of the category.
    [[nodiscard]] std::vector<CategoryTotal> sorted() const;

  private:
    ComposedTexts composed_;
    std::unordered_map<std::string_view, CategoryTotal> totals_;
    LookupCache<double*> found_;
};

struct LatestDays {
    std::int64_t number;
    Period period;
};

LatestDays readDays(json::Value arguments, Instant now) {
    if (const auto days = positiveWholeNumberField(arguments, "days")) {
        if (const auto start = daysAgo(*days, now)) return {*days, Period(*start)};
    }
    return {kDefaultDays, Period(daysAgo(kDefaultDays, now).value_or(now))};
}

// Adds the parts of a split transaction, or else the transaction itself.
void addExpense(CategoryTotals& totals, const Transaction& expense, const Currencies& currencies) {
    const double rate = currencies.rateToBase(expense.currency());
    const json::Children splits = expense.splits();
    for (const json::Value split : splits) {
        totals[stringField(split, "category")] += numberField(split, "amount") * rate;
    }
    if (splits.empty()) totals[expense.category()] += expense.amount() * rate;
}

std::vector<CategoryTotal> CategoryTotals::sorted() const {
    const auto rank = [](double total) {
        return std::isnan(total) ? -std::numeric_limits<double>::infinity() : total;
    };
    std::vector<CategoryTotal> list;
    for (const auto& [form, total] : totals_) list.push_back(total);
    std::sort(list.begin(), list.end(), [&](const CategoryTotal& a, const CategoryTotal& b) {
        return rank(a.second) != rank(b.second) ? rank(a.second) > rank(b.second)
                                                : a.first < b.first;
    });
    return list;
}

}  // namespace

std::string toolSpendingByCategory(json::Value arguments, Instant now) {
    const json::Document document = loadData(
        {Field::type, Field::date, Field::amount, Field::currency, Field::category, Field::splits});
    const Currencies currencies(document.root());
    const LatestDays latest = readDays(arguments, now);

    CategoryTotals totals;
    DayFormatter dayFormatter;
    for (const json::Value record : objectArrayField(document.root(), "transactions")) {
        const Transaction transaction(record);
        if (transaction.isExpense() && latest.period.contains(transaction.date(), dayFormatter)) {
            addExpense(totals, transaction, currencies);
        }
    }

    const std::string days = std::to_string(latest.number);
    const auto sorted = totals.sorted();
    if (sorted.empty()) return "No spending in the last " + days + " days.";
    std::string text = "Spending by category (last " + days + " days):";
    for (const auto& [category, total] : sorted) {
        text += "\n  • ";
        text += category;
        text += ": " + moneyText(currencies.base(), total);
    }
    return text;
}

}  // namespace tovra
