#include <string_view>
#include <unordered_map>

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

// What was spent in the month on each category and subcategory that a budget limits, in base
// currency. The time for a transaction does not depend on the number of budgets.
class MonthSpending {
  public:
    MonthSpending(const json::Children& budgets, Instant now, const Currencies& currencies)
        : month_(monthOf(now)), currencies_(currencies) {
        for (const json::Value budget : budgets) {
            Category& category = categories_[composed_(stringField(budget, "category"))];
            const std::string_view subcategory = composed_(stringField(budget, "subcategory"));
            if (!subcategory.empty()) category.bySubcategory.try_emplace(subcategory, 0);
        }
    }

    void add(const Transaction& transaction) {
        if (!transaction.isExpense()) return;
        Category* const category = found_.find(transaction.category(), [&](std::string_view name) {
            const auto found = categories_.find(composed_(name));
            return found == categories_.end() ? nullptr : &found->second;
        });
        if (category == nullptr) return;
        if (!month_.contains(transaction.date(), dayFormatter_)) return;

        const double amount =
            currencies_.convertToBase(transaction.amount(), transaction.currency());
        category->total += amount;
        auto& parts = category->bySubcategory;
        const auto part = parts.find(composed_(transaction.subcategory()));
        if (part != parts.end()) part->second += amount;
    }

    // What counts against a budget. One without a subcategory limits its whole category.
    [[nodiscard]] double spent(std::string_view category, std::string_view subcategory) {
        const Category& spending = categories_.at(composed_(category));
        return subcategory.empty() ? spending.total
                                   : spending.bySubcategory.at(composed_(subcategory));
    }

  private:
    struct Category {
        double total = 0;
        std::unordered_map<std::string_view, double> bySubcategory;
    };

    Period month_;
    const Currencies& currencies_;
    DayFormatter dayFormatter_;
    ComposedTexts composed_;
    std::unordered_map<std::string_view, Category> categories_;
    LookupCache<Category*> found_;  // by name
};

void appendLine(std::string& text, json::Value budget, MonthSpending& spending,
                std::string_view base) {
    const std::string_view category = stringField(budget, "category");
    const std::string_view subcategory = stringField(budget, "subcategory");
    const double limit = numberField(budget, "monthlyLimit");
    const double spent = spending.spent(category, subcategory);
    const double remaining = limit - spent;

    text += "\n  • ";
    text += category;
    if (!subcategory.empty()) {
        text += " › ";
        text += subcategory;
    }
    text += ": " + moneyText(base, spent) + " / " + moneyText(base, limit) + " (";
    text += remaining < 0 ? moneyText(base, spent - limit) + " over)"
                          : moneyText(base, remaining) + " left)";
}

}  // namespace

std::string toolListBudgets(Instant now) {
    const json::Document document =
        loadData({Field::type, Field::date, Field::amount, Field::currency, Field::category,
                  Field::subcategory});
    const json::Children budgets = objectArrayField(document.root(), "budgets");
    if (budgets.empty()) return "No budgets set.";

    const Currencies currencies(document.root());
    MonthSpending spending(budgets, now, currencies);
    for (const json::Value record : objectArrayField(document.root(), "transactions")) {
        spending.add(Transaction(record));
    }

    std::string text = "Budgets this month:";
    for (const json::Value budget : budgets) appendLine(text, budget, spending, currencies.base());
    return text;
}

}  // namespace tovra
