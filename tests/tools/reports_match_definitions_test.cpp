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

#include "store/fields.h"
#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

constexpr Instant kNow = 1794841200.5;  // 2026-11-16T15:00:00.5Z

// JSON texts to choose from.
const std::string kCodes = R"("USD" "EUR" "GBP" "ZRO" "BAD" "JPY" "CHF" "NON" "" 1)";
const std::string kIDs = R"("a" "b" "c" "d" "e" "" 3)";
const std::string kTexts = R"("Food" "food" "Caf\u00e9" "CAFÉ" "F\u0000n" "Fun" "" [])";
const std::string kFlags = "true false 1 0 null";

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::string document(unsigned transactions) {
        return R"({"fxRates":{"EUR":9,"EUR":1.1,"GBP":1.25,"ZRO":0,"BAD":"2","JPY":0.0067,"CHF":true},)" +
               ("\"settings\":{" + member("baseCurrency", kCodes)) + R"("x":0},"accounts":)" +
               list(12, &Generator::account) + R"(,"budgets":)" + list(25, &Generator::budget) +
               R"(,"transactions":)" + list(transactions, &Generator::transaction) + "}";
    }

  private:
    unsigned below(unsigned end) { return static_cast<unsigned>(random_() % end); }
    std::string oneOf(const std::string& choices) {
        std::istringstream stream(choices);
        const std::vector<std::string> list{std::istream_iterator<std::string>(stream), {}};
        return list[below(static_cast<unsigned>(list.size()))];
    }
    // A member, sometimes missing and sometimes there twice.
    std::string member(const std::string& name, const std::string& choices) {
        const unsigned dice = below(12);
        const std::string text = "\"" + name + "\":" + oneOf(choices) + ",";
        if (dice == 0) return "";
        return dice == 1 ? text + member(name, choices) : text;
    }
    std::string list(unsigned count, std::string (Generator::*members)()) {
        std::string text;
        for (unsigned i = 0; i < count; ++i) text += ",{" + (this->*members)() + "\"x\":0}";
        return "[" + text.substr(count > 0 ? 1 : 0) + "]";
    }
    std::string amount(const std::string& name) {
        const std::string n = std::to_string(below(100000));
        return member(
            name, n + " " + n + ".07 0." + n + " -" + n + "e-2 1" + n + R"(e9 -0.0 true "7" null)");
    }
    std::string date() {
        const std::string iso =
            isoFormatter.format(kNow + (below(120) - 60.0) * 86400 + below(3) * 30000);
        const std::string local = "\"" + iso.substr(0, 19);
        return member("date", "\"" + iso + "\" \"" + iso.substr(0, 10) + "\" " + local +
                                  "+13:45\" " + local + "-05:00\" " + local +
                                  R"(" "2026-11-31" "2026-12-01" )" +
                                  R"("2026-11-01" "2031-05-05" "2018-11-04" 7)");
    }
    std::string account() {
        return member("id", kIDs) + member("name", kTexts) + member("currency", kCodes) +
               amount("openingBalance") + member("archived", kFlags) +
               member("includeInNetWorth", kFlags) + member("type", R"("Loan" "loan" "Bank")") +
               (below(3) > 0 ? "" : R"("type":"Credit Card",)");
    }
    std::string budget() {
        return member("category", kTexts) + member("subcategory", kTexts) + amount("monthlyLimit");
    }
    std::string split() { return member("category", kTexts) + amount("amount"); }
    std::string transaction() {
        return member("type", R"("Income" "Expense" "Expense" "Transfer" "Transfer" "expense")") +
               amount("amount") + member("currency", kCodes) + date() + member("accountID", kIDs) +
               member("transferAccountID", kIDs) + member("payee", kTexts) +
               member("category", kTexts) + member("subcategory", kTexts) +
               (below(4) > 0 ? ""
                             : member("splits", list(below(4), &Generator::split) + " [1] {}"));
    }

    std::mt19937 random_;
};

using Record = json::Value;

std::string text(Record record, std::string_view name) {
    return std::string(stringField(record, name));
}
std::string money(double amount) {
    char printed[400];
    return {printed, static_cast<std::size_t>(std::snprintf(printed, 400, " %.2f", amount))};
}
std::optional<Instant> date(Record transaction) {
    DayFormatter dayFormatter;
    return parseDate(stringField(transaction, "date"), dayFormatter);
}

struct Definitions {
    Record data;
    std::string base =
        std::string(objectField(data, "settings").member("baseCurrency").string().value_or("USD"));
    MonthBounds month = monthBounds(kNow);
    json::Children transactions = objectArrayField(data, "transactions");

    double rate(const std::string& code) const {
        const Record table = objectField(data, "fxRates");
        return code != base && table.member(code).exists() ? numberField(table, code) : 1;
    }
    double inBase(Record amount, Record transaction) const {
        return numberField(amount, "amount") * rate(text(transaction, "currency"));
    }
    double converted(Record transaction, const std::string& to) const {
        const std::string from = text(transaction, "currency");
        const double amount = numberField(transaction, "amount");
        return from == to || rate(to) == 0 ? amount : amount * rate(from) / rate(to);
    }
    bool inMonth(Record transaction) const {
        const auto day = date(transaction);
        return day && month.start <= *day && *day < month.end;
    }
    double balance(Record account) const {
        const std::string id = text(account, "id"), code = text(account, "currency");
        double sum = numberField(account, "openingBalance");
        for (const Record it : transactions) {
            const std::string type = text(it, "type");
            const bool named = text(it, "accountID") == id;
            if (named && type == "Income") sum += converted(it, code);
            if (named && (type == "Expense" || type == "Transfer")) sum -= converted(it, code);
            if (type == "Transfer" && text(it, "transferAccountID") == id)
                sum += converted(it, code);
        }
        return sum;
    }

    std::string overview() const {
        double worth = 0, income = 0, spending = 0;
        std::string lines;
        for (const Record account : objectArrayField(data, "accounts")) {
            if (boolField(account, "archived").value_or(false)) continue;
            const std::string type = text(account, "type"), code = text(account, "currency");
            double value = balance(account) * rate(code);
            if (type == "Credit Card" || type == "Loan") value = -std::fabs(value);
            if (boolField(account, "includeInNetWorth").value_or(true)) worth += value;
            lines += "\n  • " + text(account, "name") + ": " + code + money(balance(account));
        }
        for (const Record it : transactions) {
            if (!inMonth(it)) continue;
            if (text(it, "type") == "Income") income += inBase(it, it);
            if (text(it, "type") == "Expense") spending += inBase(it, it);
        }
        return "Base currency: " + base + "\nNet worth: " + base + money(worth) +
               "\nThis month — income: " + base + money(income) + ", spending: " + base +
               money(spending) + ", net: " + base + money(income - spending) +
               "\nAccounts:" + lines;
    }

    std::string budgets() const {
        std::string lines = "Budgets this month:";
        for (const Record budget : objectArrayField(data, "budgets")) {
            const std::string category = text(budget, "category"),
                              part = text(budget, "subcategory");
            const double limit = numberField(budget, "monthlyLimit");
            double spent = 0;
            for (const Record it : transactions) {
                if (text(it, "type") == "Expense" && inMonth(it) &&
                    text(it, "category") == category &&
                    (part.empty() || text(it, "subcategory") == part)) {
                    spent += inBase(it, it);
                }
            }
            lines += "\n  • " + category + (part.empty() ? "" : " › " + part) + ": " + base +
                     money(spent) + " / " + base + money(limit) + " (" + base +
                     (limit - spent < 0 ? money(spent - limit) + " over)"
                                        : money(limit - spent) + " left)");
        }
        return lines;
    }

    std::string spending(std::int64_t days) const {
        std::map<std::string, double> totals;
        for (const Record it : transactions) {
            if (text(it, "type") != "Expense" || !date(it) || *date(it) < daysAgo(days, kNow))
                continue;
            const json::Children splits = objectArrayField(it, "splits");
            if (splits.empty()) totals[text(it, "category")] += inBase(it, it);
            for (const Record split : splits) totals[text(split, "category")] += inBase(split, it);
        }
        std::vector<std::pair<std::string, double>> sorted(totals.begin(), totals.end());
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        std::string lines = "Spending by category (last " + std::to_string(days) + " days):";
        for (const auto& [name, total] : sorted)
            lines += "\n  • " + name + ": " + base + money(total);
        return lines;
    }

    std::string listing(std::size_t limit, std::int64_t days, const std::string& type) const {
        std::vector<Record> kept;
        for (const Record it : transactions) {
            const bool old = date(it) && *date(it) < daysAgo(days, kNow);
            if (!old && (type == "All" || text(it, "type") == type)) kept.push_back(it);
        }
        std::stable_sort(kept.begin(), kept.end(), [](Record a, Record b) {
            return date(a).value_or(-HUGE_VAL) > date(b).value_or(-HUGE_VAL);
        });
        limit = std::min(limit, kept.size());
        std::string rows =
            "Showing " + std::to_string(limit) + " of " + std::to_string(kept.size()) + ":";
        for (const Record it : std::vector(kept.begin(), kept.begin() + static_cast<long>(limit))) {
            const std::string payee = text(it, "payee"), category = text(it, "category");
            rows += "\n" + (date(it) ? DayFormatter().format(*date(it)) : "?") +
                    (text(it, "type") == "Expense" ? "  −" : "  +") + text(it, "currency") +
                    money(numberField(it, "amount")) + "  " + (payee.empty() ? category : payee) +
                    " [" + category + "]";
        }
        return rows;
    }
};

TEST(Reports, MatchTheirDefinitionsOnGeneratedDocuments) {
    const auto some = json::parse(R"({"days":40,"type":"Expense","limit":300})");
    for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Auckland"}) {
        const test::EnvironmentScope scope("TZ", zone);
        for (unsigned seed = 1; seed <= 4; ++seed) {
            SCOPED_TRACE(std::string(zone) + ", seed " + std::to_string(seed));
            const std::string document = Generator(seed).document(1000);
            const test::DataFile file(document);
            const auto parsed = json::parse(document);
            ASSERT_TRUE(parsed);
            const Definitions definitions{parsed->root()};
            EXPECT_EQ(toolOverview(kNow), definitions.overview());
            EXPECT_EQ(toolListBudgets(kNow), definitions.budgets());
            EXPECT_EQ(toolSpendingByCategory(some->root(), kNow), definitions.spending(40));
            EXPECT_EQ(toolListTransactions({}, kNow), definitions.listing(20, 1000000, "All"));
            EXPECT_EQ(toolListTransactions(some->root(), kNow),
                      definitions.listing(300, 40, "Expense"));
        }
    }
}

}  // namespace
}  // namespace tovra
