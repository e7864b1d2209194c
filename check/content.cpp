#include "check/content.h"

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/unicode.h"
#include "store/currencies.h"
#include "store/fields.h"
#include "store/transaction.h"

namespace tovra::check {
namespace {

using Numbers = std::unordered_map<std::string_view, std::size_t>;

Counts sorted(const Numbers& numbers) {
    Counts counts(numbers.begin(), numbers.end());
    std::sort(counts.begin(), counts.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    return counts;
}

// Gathers the texts that occur more than once, each once, in the order of their second occurrence.
class Repeated {
  public:
    void add(std::string_view key, std::string_view text) {
        if (++numbers_[std::string(key)] == 2) texts.push_back(text);
    }
    std::vector<std::string_view> texts;

  private:
    std::unordered_map<std::string, std::size_t> numbers_;
};

// Where one element is no object, the server sees an empty list.
List look(json::Value data, std::string_view name) {
    List list{.name = name, .value = data.member(name)};
    list.count = asObjectArray(list.value).size();
    if (!list.value.is(json::Kind::array)) return list;
    std::size_t at = 0;
    for (const json::Value element : list.value.children()) {
        if (!element.is(json::Kind::object) && !list.firstStray) list.firstStray = at;
        ++at;
    }
    return list;
}

// The names that occur more than once. Of such members the server sees the last.
std::vector<std::string_view> repeatedMembers(json::Value data) {
    Repeated repeated;
    for (const json::Value member : data.children()) repeated.add(member.name(), member.name());
    return repeated.texts;
}

// Adds up what the transactions are like, in one pass over them.
class TransactionSurvey {
  public:
    TransactionSurvey(Content& content, Instant now) : content_(content), month_(monthOf(now)) {}

    void addAccount(json::Value account) { ids_.insert(stringField(account, "id")); }

    void add(const Transaction& transaction) {
        ++types_[transaction.type()];
        ++currencies_[transaction.currency()];
        if (!transaction.hasAmount()) content_.withoutAmount.add(transaction.payee());
        if (transaction.hasUnusableSplits()) content_.unusableSplits.add(transaction.payee());
        addDate(transaction.date());
        addAccounts(transaction);
    }

    void finish() {
        content_.types = sorted(types_);
        content_.currencies = sorted(currencies_);
    }

  private:
    void addDate(std::string_view text) {
        const auto date = parseDate(text, dayFormatter_);
        if (!date) return content_.undated.add(text);
        if (!content_.dates) content_.dates = {*date, *date};
        content_.dates->first = std::min(content_.dates->first, *date);
        content_.dates->second = std::max(content_.dates->second, *date);
        if (month_.contains(*date)) ++content_.thisMonth;
    }

    // Counts the transaction at most once, whatever is wrong with the accounts that it names.
    void addAccounts(const Transaction& transaction) {
        const bool moves = transaction.isTransfer();
        if (!moves && !transaction.isIncome() && !transaction.isExpense()) return;
        const std::string_view id = transaction.accountID();
        for (const std::string_view each : {id, moves ? transaction.transferAccountID() : id}) {
            if (ids_.contains(each)) continue;
            return (each.empty() ? content_.withoutAccount : content_.unknownAccount).add(each);
        }
    }

    Content& content_;
    Period month_;
    DayFormatter dayFormatter_;
    std::unordered_set<std::string_view> ids_;
    Numbers types_;
    Numbers currencies_;
};

void surveyAccounts(Content& content, const json::Children& accounts) {
    Repeated ids;
    Repeated names;
    for (const json::Value account : accounts) {
        if (boolField(account, "archived") == true) ++content.archivedAccounts;
        const std::string_view id = stringField(account, "id");
        const std::string_view name = stringField(account, "name");
        ids.add(id, id);
        names.add(nameForm(name), name);
    }
    content.sharedIDs = std::move(ids.texts);
    content.repeatedAccountNames = std::move(names.texts);
}

// Whether each currency in use has a rate, and each rate is a positive number.
void surveyRates(Content& content, json::Value data, const json::Children& accounts) {
    const ExchangeRates rates = fxRates(data);
    std::set<std::string_view> used;
    for (const auto& [currency, count] : content.currencies) used.insert(currency);
    for (const json::Value account : accounts) used.insert(stringField(account, "currency"));
    for (const std::string_view currency : used) {
        if (currency == content.baseCurrency) continue;
        const auto rate = rates.find(currency);
        if (rate == rates.end()) {
            content.withoutRate.push_back(currency);
        } else if (!(rate->second > 0)) {
            content.wrongRates.push_back(currency);
        }
    }
}

}  // namespace

Content survey(json::Value data, Instant now) {
    Content content;
    content.baseCurrency = baseCurrency(data);
    content.namesBaseCurrency =
        objectField(data, "settings").member("baseCurrency").is(json::Kind::string);
    content.repeatedMembers = repeatedMembers(data);
    content.lists = {look(data, "accounts"), look(data, "transactions"), look(data, "budgets"),
                     look(data, "goals")};

    const json::Children accounts = objectArrayField(data, "accounts");
    surveyAccounts(content, accounts);
    Repeated goals;
    for (const json::Value goal : objectArrayField(data, "goals")) {
        const std::string_view name = stringField(goal, "name");
        goals.add(nameForm(name), name);
    }
    content.repeatedGoalNames = std::move(goals.texts);

    TransactionSurvey transactions(content, now);
    for (const json::Value account : accounts) transactions.addAccount(account);
    for (const json::Value record : objectArrayField(data, "transactions")) {
        transactions.add(Transaction(record));
    }
    transactions.finish();
    surveyRates(content, data, accounts);
    return content;
}

}  // namespace tovra::check
