// Reports gather everything in one pass. Here every number is computed again in the slow way, one
// definition after the other over all transactions, on documents full of oddities.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <vector>

#include "store/currencies.h"
#include "store/fields.h"
#include "support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

constexpr Instant kNow = 1794841200.5;  // 2026-11-16T15:00:00.5Z
constexpr Instant kNever = -HUGE_VAL;   // the date of what has none

// Texts by the rules of golden/generated.txt.
class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {
        std::ifstream file(TOVRA_TESTS "/tools/golden/generated.txt");
        for (std::string line, rule; std::getline(file, line);) {
            std::istringstream words(line);
            words >> rule;
            rules_[rule].assign(std::istream_iterator<std::string>(words), {});
        }
    }

    std::string text(const std::string& rule) {
        const std::vector<std::string>& alternatives = rules_.at(rule);
        std::istringstream rest(alternatives[below(alternatives.size())]);
        std::string text;
        for (std::string plain, slot; std::getline(rest, plain, '<');) {
            for (const char c : plain) text += c == '#' ? static_cast<char>('0' + below(10)) : c;
            if (std::getline(rest, slot, '>')) fill(slot, text);
        }
        return text;
    }

  private:
    unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }

    void fill(const std::string& slot, std::string& text) {
        const std::size_t sign = slot.find_first_of(":*");
        const std::string name = sign < slot.size() ? slot.substr(sign + 1) : "1";
        const bool isMember = slot.find(':') < slot.size();
        const unsigned dice = below(12);
        int times = dice < 2 ? static_cast<int>(2 * dice) : 1;
        if (!isMember) times = std::stoi(name);
        for (; times > 0; --times) {
            const bool isFirst = text.empty() || std::string_view("[{:").find(text.back()) < 3;
            if (!isFirst) text += ',';
            if (isMember) text += "\"" + name + "\":";
            text += this->text(slot.substr(0, sign));
        }
    }

    std::map<std::string, std::vector<std::string>> rules_;
    std::mt19937 random_;
};

// Puts amounts down with two decimals.
struct Text : std::ostringstream {
    explicit Text(const char* start = "") {
        precision(2), setf(fixed);
        *this << start;
    }
};

struct Entry {
    std::string_view text(const char* name) const { return stringField(record, name); }

    json::Value record;
    std::string_view type = text("type"), currency = text("currency"), category = text("category");
    std::string_view from = text("accountID"), to = text("transferAccountID");
    double amount = numberField(record, "amount");
    DayFormatter dayFormatter = {};
    Instant date = parseDate(text("date"), dayFormatter).value_or(kNever);
};

class Definitions {
  public:
    explicit Definitions(json::Value data) : data_(data) {
        for (const json::Value it : objectArrayField(data, "transactions")) {
            entries_.push_back({it});
        }
    }

    std::string overview() const {
        Text text("Base currency: "), lines;
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
             << income << ", spending: " << unit_ << spending << ", net: " << unit_
             << income - spending << "\nAccounts:" << lines.str();
        return text.str();
    }

    std::string budgets() const {
        Text text("Budgets this month:");
        for (const json::Value budget : objectArrayField(data_, "budgets")) {
            const std::string_view category = stringField(budget, "category");
            const std::string_view part = stringField(budget, "subcategory");
            const double limit = numberField(budget, "monthlyLimit");
            const double spent = sum([&](const Entry& it) {
                return it.type == "Expense" && it.category == category &&
                       (part.empty() || it.text("subcategory") == part);
            });
            text << "\n  • " << category << (part.empty() ? "" : " › ") << part << ": " << unit_
                 << spent << " / " << unit_ << limit << " (" << unit_;
            limit - spent < 0 ? text << spent - limit << " over)"
                              : text << limit - spent << " left)";
        }
        return text.str();
    }

    std::string spending(std::int64_t days) const {
        std::map<std::string_view, double> totals;
        for (const Entry& it : entries_) {
            if (it.type != "Expense" || it.date < daysAgo(days, kNow)) continue;
            const json::Children splits = objectArrayField(it.record, "splits");
            if (splits.empty()) totals[it.category] += it.amount * rate(it.currency);
            for (const json::Value split : splits) {
                double& total = totals[stringField(split, "category")];
                total += numberField(split, "amount") * rate(it.currency);
            }
        }
        using Total = std::pair<std::string_view, double>;
        std::vector<Total> sorted(totals.begin(), totals.end());
        std::ranges::stable_sort(sorted, std::greater(), &Total::second);
        Text text("Spending by category (last ");
        text << days << " days):";
        for (const auto& [category, total] : sorted) {
            text << "\n  • " << category << ": " << unit_ << total;
        }
        return text.str();
    }

    std::string listing(std::size_t limit) const {
        std::vector<Entry> sorted = entries_;
        std::ranges::stable_sort(sorted, std::greater(), &Entry::date);
        sorted.resize(limit);
        Text text("Showing ");
        text << limit << " of 2000:";
        for (const Entry& it : sorted) {
            text << "\n"
                 << (it.date == kNever ? "?" : DayFormatter().format(it.date))
                 << (it.type == "Expense" ? "  −" : "  +") << it.currency << " " << it.amount
                 << "  " << (it.text("payee").empty() ? it.category : it.text("payee")) << " ["
                 << it.category << "]";
        }
        return text.str();
    }

  private:
    double rate(std::string_view code) const {
        const json::Value table = objectField(data_, "fxRates");
        return code != base_ && table.member(code).exists() ? numberField(table, code) : 1;
    }
    // What the transactions of this month come to for which `counts` holds, in base currency.
    double sum(const auto& counts) const {
        double total = 0;
        for (const Entry& it : entries_) {
            const bool inMonth = month_.start <= it.date && it.date < month_.end;
            if (inMonth && counts(it)) total += it.amount * rate(it.currency);
        }
        return total;
    }
    double accountBalance(json::Value account) const {
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

    json::Value data_;
    std::string base_{baseCurrency(data_)}, unit_ = base_ + " ";
    MonthBounds month_ = monthBounds(kNow);
    std::vector<Entry> entries_;
};

TEST(Reports, MatchTheirDefinitionsOnGeneratedDocuments) {
    const auto days = json::parse(R"({"days":40})"), limit = json::parse(R"({"limit":500})");
    for (unsigned seed = 1; seed <= 4; ++seed) {
        const support::DataFileScope file(Generator(seed).text("document"));
        const json::Document data = json::parse(support::fileBytes(file.path())).value();
        for (const char* zone : {"UTC", "America/Sao_Paulo", "Pacific/Auckland"}) {
            SCOPED_TRACE(zone + (", seed " + std::to_string(seed)));
            const support::EnvironmentScope scope("TZ", zone);
            const Definitions definitions(data.root());
            EXPECT_EQ(toolOverview(kNow), definitions.overview());
            EXPECT_EQ(toolListBudgets(kNow), definitions.budgets());
            EXPECT_EQ(toolSpendingByCategory(days->root(), kNow), definitions.spending(40));
            EXPECT_EQ(toolListTransactions(limit->root(), kNow), definitions.listing(500));
        }
    }
}

}  // namespace
}  // namespace tovra
