// Reports gather everything in one pass. Here every number is computed again in the slow way, one
// definition after the other over all transactions, on documents full of oddities.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "store/currencies.h"
#include "store/fields.h"
#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

constexpr Instant kNow = 1794841200.5;  // 2026-11-16T15:00:00.5Z
constexpr unsigned kTransactions = 2000;

// JSON values to choose from, by kind; # stands for a digit.
const std::map<std::string, std::string> kValues = {
    {"id", R"("a" "b" "c" "d" "" 3)"},
    {"code", R"("USD" "EUR" "GBP" "ZRO" "BAD" "CHF" "NON" "" 1)"},
    {"text", R"("Food" "food" "Caf\u00e9" "CAFÉ" "F\u0000n" "" [])"},
    {"number", R"(1##.## #.0#7 -2#.5 1#7e# -0.0 true "7" null)"},
    {"flag", R"(true false 0 "yes")"},
    {"kind", R"("Credit\u0020Card" "Loan" "loan" "Bank")"},
    {"type", R"("Income" "Expense" "Expense" "Transfer" "expense")"},
    {"date", R"("2026-11-0#" "2026-11-1#" "2026-11-2#" "2026-11-3#" "2026-1#-01" "2018-11-04"
        "2026-11-1#T1#:#0:00Z" "2026-1#-30T0#:00:0#+13:45" "2026-10-1#T1#:00:00-05:00"
        "2026-11-1#T10:00:00+0100" "203#-03-03" 7)"}};

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::string document() {
        constexpr const char* kAccount =
            "id id name text currency code openingBalance number archived flag type kind "
            "includeInNetWorth flag";
        constexpr const char* kTransaction =
            "type type amount number currency code date date accountID id transferAccountID id "
            "payee text category text subcategory text splits splits";
        return R"({"fxRates":{"EUR":9,"EUR":1.1,"USD":5,"GBP":1.25,"ZRO":0,"BAD":"2",)"
               R"("CHF":true,"NUL":null},)" +
               ("\"accounts\":[" + records(12, kAccount) + "],\"budgets\":[") +
               records(25, "category text subcategory text monthlyLimit number") + "],\"goals\":[" +
               records(25, "name text currency code saved number target number") +
               "],\"transactions\":[" + records(kTransactions, kTransaction) +
               "],\"settings\":" + records(1, "baseCurrency code") + "}";
    }

  private:
    unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }

    // Objects with these members, each of which now and then is missing or there twice.
    std::string records(unsigned count, const std::string& members) {
        std::string text;
        for (unsigned i = 0; i < count; ++i) {
            std::istringstream list(members);
            text += i > 0 ? ",{" : "{";
            for (std::string name, kind; list >> name >> kind;) {
                const unsigned dice = below(12);
                for (unsigned times = dice < 2 ? 2 * dice : 1; times > 0; --times) {
                    text += "\"" + name + "\":" + value(kind) + ",";
                }
            }
            text += "\"x\":0}";
        }
        return text;
    }

    std::string value(const std::string& kind) {
        if (kind == "splits") {
            if (below(4) > 0) return "[{},1]";
            return "[" + records(below(4), "category text amount number") + "]";
        }
        std::istringstream stream(kValues.at(kind));
        const std::vector<std::string> values{std::istream_iterator<std::string>(stream), {}};
        std::string value = values[below(values.size())];
        for (char& c : value) c = c == '#' ? static_cast<char>('0' + below(10)) : c;
        return value;
    }

    std::mt19937 random_;
};

std::string text(json::Value object, std::string_view name) {
    return std::string(stringField(object, name));
}

std::string money(double amount) {
    char printed[400];
    return {printed, static_cast<std::size_t>(std::snprintf(printed, 400, " %.2f", amount))};
}

struct Entry {
    json::Value record;
    std::string type = text(record, "type"), currency = text(record, "currency");
    std::string from = text(record, "accountID"), to = text(record, "transferAccountID");
    std::string category = text(record, "category"), part = text(record, "subcategory");
    double amount = numberField(record, "amount");
    DayFormatter dayFormatter = {};
    std::optional<Instant> date = parseDate(stringField(record, "date"), dayFormatter);
};

class Definitions {
  public:
    explicit Definitions(json::Value data) : data_(data), base_(baseCurrency(data)) {
        for (const json::Value it : objectArrayField(data, "transactions"))
            entries_.push_back({it});
    }

    std::string overview() const {
        const double income = sum([&](const Entry& it) { return it.type == "Income"; });
        const double spending = sum([&](const Entry& it) { return it.type == "Expense"; });
        double worth = 0;
        std::string lines;
        for (const json::Value account : objectArrayField(data_, "accounts")) {
            if (boolField(account, "archived") == true) continue;
            const std::string type = text(account, "type"), currency = text(account, "currency");
            const double balance = accountBalance(account);
            double value = balance * rate(currency);
            if (type == "Credit Card" || type == "Loan") value = -std::fabs(value);
            if (boolField(account, "includeInNetWorth") != false) worth += value;
            lines += "\n  • " + text(account, "name") + ": " + currency + money(balance);
        }
        return "Base currency: " + base_ + "\nNet worth: " + base_ + money(worth) +
               "\nThis month — income: " + base_ + money(income) + ", spending: " + base_ +
               money(spending) + ", net: " + base_ + money(income - spending) +
               "\nAccounts:" + lines;
    }

    std::string budgets() const {
        std::string lines = "Budgets this month:";
        for (const json::Value budget : objectArrayField(data_, "budgets")) {
            const std::string part = text(budget, "subcategory");
            const double limit = numberField(budget, "monthlyLimit");
            const double spent = sum([&](const Entry& it) {
                return it.type == "Expense" && it.category == text(budget, "category") &&
                       (part.empty() || it.part == part);
            });
            lines += "\n  • " + text(budget, "category") + (part.empty() ? "" : " › " + part) +
                     ": " + base_ + money(spent) + " / " + base_ + money(limit) + " (" + base_;
            lines += limit - spent < 0 ? money(spent - limit) + " over)"
                                       : money(limit - spent) + " left)";
        }
        return lines;
    }

    std::string spending(std::int64_t days) const {
        std::map<std::string, double> totals;
        for (const Entry& it : entries_) {
            if (it.type != "Expense" || !it.date || *it.date < daysAgo(days, kNow)) continue;
            const json::Children splits = objectArrayField(it.record, "splits");
            if (splits.empty()) totals[it.category] += it.amount * rate(it.currency);
            for (const json::Value split : splits) {
                totals[text(split, "category")] += numberField(split, "amount") * rate(it.currency);
            }
        }
        std::vector<std::pair<std::string, double>> sorted(totals.begin(), totals.end());
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        std::string lines = "Spending by category (last " + std::to_string(days) + " days):";
        for (const auto& it : sorted)
            lines += "\n  • " + it.first + ": " + base_ + money(it.second);
        return lines;
    }

    std::string goals() const {
        std::string lines = "Savings goals:";
        for (const json::Value goal : objectArrayField(data_, "goals")) {
            const std::string currency = text(goal, "currency");
            const double saved = numberField(goal, "saved"), target = numberField(goal, "target");
            const double percent = target > 0 ? std::min(saved / target, 1.0) * 100 : 0;
            lines += "\n  • " + text(goal, "name") + ": " + currency + money(saved) + " / " +
                     currency + money(target) + " (" + std::to_string(std::int64_t(percent)) + "%)";
        }
        return lines;
    }

    std::string listing(std::size_t limit) const {
        std::vector<Entry> sorted = entries_;
        std::stable_sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
            return a.date.value_or(-HUGE_VAL) > b.date.value_or(-HUGE_VAL);
        });
        sorted.resize(limit);
        std::string rows =
            "Showing " + std::to_string(limit) + " of " + std::to_string(kTransactions) + ":";
        for (const Entry& it : sorted) {
            const std::string payee = text(it.record, "payee");
            rows += "\n" + (it.date ? DayFormatter().format(*it.date) : "?") +
                    (it.type == "Expense" ? "  −" : "  +") + it.currency + money(it.amount) + "  " +
                    (payee.empty() ? it.category : payee) + " [" + it.category + "]";
        }
        return rows;
    }

  private:
    double rate(const std::string& code) const {
        const json::Value table = objectField(data_, "fxRates");
        return code != base_ && table.member(code).exists() ? numberField(table, code) : 1;
    }
    // What the transactions of this month come to for which `counts` holds, in base currency.
    template <typename Counts>
    double sum(const Counts& counts) const {
        double total = 0;
        for (const Entry& it : entries_) {
            const bool inMonth = it.date && month_.start <= *it.date && *it.date < month_.end;
            if (inMonth && counts(it)) total += it.amount * rate(it.currency);
        }
        return total;
    }
    double accountBalance(json::Value account) const {
        const std::string id = text(account, "id"), code = text(account, "currency");
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

    json::Value data_;
    std::string base_;
    MonthBounds month_ = monthBounds(kNow);
    std::vector<Entry> entries_;
};

TEST(Reports, MatchTheirDefinitionsOnGeneratedDocuments) {
    const auto listed = json::parse(R"({"limit":500})");
    const auto spent = json::parse(R"({"days":40})");
    for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Auckland"}) {
        const test::EnvironmentScope scope("TZ", zone);
        for (unsigned seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(std::string(zone) + ", seed " + std::to_string(seed));
            const std::string document = Generator(seed).document();
            const test::DataFile file(document);
            const auto parsed = json::parse(document);
            ASSERT_TRUE(parsed) << document;
            const Definitions definitions(parsed->root());
            EXPECT_EQ(toolOverview(kNow), definitions.overview());
            EXPECT_EQ(toolListBudgets(kNow), definitions.budgets());
            EXPECT_EQ(toolListGoals(), definitions.goals());
            EXPECT_EQ(toolSpendingByCategory(spent->root(), kNow), definitions.spending(40));
            EXPECT_EQ(toolListTransactions(listed->root(), kNow), definitions.listing(500));
        }
    }
}

}  // namespace
}  // namespace tovra
