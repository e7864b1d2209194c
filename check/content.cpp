#include "check/content.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "check/names.h"
#include "check/rules.h"
#include "check/transactions.h"
#include "platform/unicode.h"
#include "store/currencies.h"
#include "store/fields.h"

namespace tovra::check {
namespace {

// Gathers the texts that occur more than once, each once, in the order of their second occurrence.
class Repeated {
  public:
    void add(const std::string& key, std::string_view text) {
        if (++numbers_[key] == 2) texts.emplace_back(text);
    }
    Texts texts;

  private:
    std::map<std::string, std::size_t> numbers_;
};

// Texts by what is loosely the same.
using Alike = std::map<std::string, Texts>;

class Survey {
  public:
    Survey(Content& content, json::Value data, Instant now)
        : content_(content),
          data_(data),
          accounts_(objectArrayField(data, "accounts")),
          transactions_(content, tallies_, data, now) {}

    void run() {
        surveyMembers();
        surveyLists();
        transactions_.run();
        surveyNames();
        surveyCurrencies();
        surveyAccounts();
        surveyCategories();
        surveyBudgets();
        tallies_.tell(findings_, content_.lists[1].second);
        content_.findings = std::move(findings_.found);
    }

  private:
    // The document itself. Of members with one name the server sees the last.
    void surveyMembers() {
        Repeated repeated;
        for (const json::Value member : data_.children()) {
            repeated.add(std::string(member.name()), member.name());
            if (const auto name = otherCaseAt(member.nameIndex(), false)) otherCase_.insert(*name);
        }
        findings_.tell(Level::warning, "repeated-member", "The file has more than one ",
                       repeated.texts, "; only the last one counts.");
    }

    void surveyLists() {
        bool hasAny = false;
        bool hasRecords = false;
        for (auto& [name, count] : content_.lists) {
            const json::Value list = data_.member(name);
            count = asObjectArray(list).size();
            hasAny = hasAny || list.exists();
            hasRecords = hasRecords || (list.exists() && !list.is(json::Kind::array)) ||
                         !list.children().empty();
            if (list.exists() && !list.isArrayOfObjects()) addNoList(name, list);
            if (name != "transactions") surveyRecords(name, asObjectArray(list));
        }
        if (!hasAny) {
            findings_.warn("no-records",
                           "The file has neither accounts nor transactions, budgets or goals. Is "
                           "it the finance application's?");
        } else if (!hasRecords) {
            findings_.note("empty", "There are no records in the file.");
        }
    }

    // Where one element is no object, the server sees an empty list.
    void addNoList(std::string_view name, json::Value list) {
        const std::string refused =
            name == "transactions" ? " Recordings of transactions are refused." : "";
        if (!list.is(json::Kind::array)) {
            return findings_.warn(
                "no-list", inQuotes(name) + " is no list and reads as an empty one." + refused);
        }
        std::size_t number = 1;
        for (const json::Value element : list.children()) {
            if (!element.is(json::Kind::object)) break;
            ++number;
        }
        findings_.warn("stray-element",
                       "Element " + std::to_string(number) + " of " + inQuotes(name) +
                           " is no object, so the whole list reads as empty." + refused);
    }

    // The records of accounts, budgets or goals, one by one.
    void surveyRecords(std::string_view list, const json::Children& records) {
        const bool isBudget = list == "budgets";
        std::map<std::string, std::string_view> read;
        for (const Field& field : kFields) {
            if (field.list == list) read.emplace(loosely(field.member), field.member);
        }
        std::size_t number = 0;
        std::size_t firstRepeated = 0;
        Texts repeated;
        Repeated names;
        for (const json::Value record : records) {
            const std::string_view name = stringField(record, isBudget ? "category" : "name");
            tallies_.look(list, record, {++number, name, {}});
            names.add(nameForm(name), name);
            Repeated members;
            for (const json::Value member : record.children()) {
                const std::string form = loosely(member.name());
                members.add(form, member.name());
                const auto wanted = read.find(form);
                if (wanted == read.end() || wanted->second == member.name()) continue;
                otherCase_.emplace(member.name(), wanted->second);
            }
            if (repeated.empty()) firstRepeated = number;
            repeated.insert(repeated.end(), members.texts.begin(), members.texts.end());
        }
        findings_.tell(Level::warning, "repeated-member", "There is more than one ", repeated,
                       " in records of " + inQuotes(list) + ", first in no. " +
                           std::to_string(firstRepeated) + ": one of them counts.");
        if (isBudget) return;
        findings_.tell(Level::warning, list == "goals" ? "repeated-goal" : "repeated-account",
                       "Several " + std::string(list) + " are called ", names.texts,
                       list == "goals" ? ": money added by that name goes to the first."
                                       : ": what is recorded by that name goes to the first.");
    }

    void surveyNames() {
        otherCase_.merge(transactions_.otherCase());
        for (const auto& [seen, read] : otherCase_) {
            findings_.warn("other-case",
                           "There is " + inQuotes(seen) + " where " + inQuotes(read) +
                               " is read. Names are compared letter by letter: it is not seen.");
        }
        if (content_.lists[1].second > 0 && content_.thisMonth == 0) {
            findings_.note("no-month",
                           "No transaction has a readable date in this month, so its totals "
                           "and budgets show 0.");
        }
    }

    void surveyCurrencies() {
        const json::Value settings = data_.member("settings");
        const json::Value base = settings.member("baseCurrency");
        content_.namesBaseCurrency = base.is(json::Kind::string);
        content_.baseCurrency = baseCurrency(data_);
        const std::string quoted = inQuotes(content_.baseCurrency);
        if (settings.exists() && !settings.is(json::Kind::object)) {
            findings_.warn("no-base-currency",
                           "\"settings\" is no object, { ... }: totals are in " + quoted + ".");
        } else if (base.exists() && !content_.namesBaseCurrency) {
            findings_.warn(
                "no-base-currency",
                "\"baseCurrency\" in the settings is no text: totals are in " + quoted + ".");
        } else if (content_.baseCurrency.empty()) {
            findings_.warn("no-base-currency", "The base currency is the empty text.");
        }
        const json::Value rates = data_.member("fxRates");
        if (!rates.exists() || rates.is(json::Kind::object)) return surveyRates(rates, quoted);
        findings_.warn("no-rates",
                       "\"fxRates\" is no object, { ... }, so there are no rates: amounts of all "
                       "currencies count one to one, as if they were in " +
                           quoted + ".");
    }

    // Whether each currency in use has a rate, and each rate is a positive number.
    void surveyRates(json::Value rates, const std::string& base) {
        std::map<std::string, std::string_view> codes = {
            {loosely(content_.baseCurrency), content_.baseCurrency}};
        for (const json::Value rate : rates.children()) {
            codes.emplace(loosely(rate.name()), rate.name());
        }
        std::set<std::string_view> used;
        for (const auto& [currency, count] : content_.currencies) used.insert(currency);
        for (const json::Value account : accounts_) used.insert(stringField(account, "currency"));
        used.erase(content_.baseCurrency);
        Texts none;
        Texts wrong;
        for (const std::string_view currency : used) {
            const json::Value rate = rates.member(currency);
            const double value = rate.number().value_or(0);
            if (rate.exists() && !(value > 0 && std::isfinite(value))) wrong.emplace_back(currency);
            if (rate.exists()) continue;
            none.emplace_back(currency);
            const auto close = codes.find(loosely(currency));
            if (close == codes.end()) continue;
            findings_.warn("rate-case", inQuotes(currency) + " is another currency than " +
                                            inQuotes(close->second) +
                                            ": codes are compared letter by letter.");
        }
        findings_.tell(Level::warning, "no-rate", "No exchange rate for ", none,
                       ": amounts count one to one, as if they were in " + base + ".");
        const json::Value ofBase = rates.member(content_.baseCurrency);
        if (ofBase.exists() && ofBase.number() != 1) {
            findings_.note("base-rate", "There is a rate for the base currency, " + base +
                                            ": it is taken as 1.");
        }
        findings_.tell(Level::warning, "wrong-rate", "The exchange rate of ", wrong,
                       " is no number above 0, or too large a one: what is in it comes out wrong, "
                       "as 0, below 0, unconverted or inf.");
    }

    void surveyAccounts() {
        Repeated ids;
        for (const json::Value account : accounts_) {
            if (boolField(account, "archived") == true) ++content_.archivedAccounts;
            const std::string_view id = stringField(account, "id");
            ids.add(std::string(id), id);
            const std::string_view type = stringField(account, "type");
            for (const std::string_view liability : {"Credit Card", "Loan"}) {
                if (type == liability || loosely(type) != loosely(liability)) continue;
                findings_.warn("account-type",
                               "An account has the type " + inQuotes(type) + " where " +
                                   inQuotes(liability) +
                                   " is read: it counts as an asset, and not as a debt.");
            }
        }
        findings_.tell(Level::warning, "shared-id", "Several accounts have the id ", ids.texts,
                       ": the same transactions count for each of them.");
        if (!accounts_.empty() && content_.archivedAccounts == accounts_.size()) {
            findings_.note("all-archived", "All accounts are archived: the net worth is 0.");
        }
    }

    // Categories that a person takes for one. Letters that are composed differently are the same.
    void surveyCategories() {
        for (const auto& [category, count] : transactions_.categories()) {
            categories_[loosely(category)].emplace_back(category);
        }
        for (const auto& [subcategory, count] : transactions_.subcategories()) {
            subcategories_[loosely(subcategory)].emplace_back(subcategory);
        }
        for (auto& [form, texts] : categories_) {
            std::sort(texts.begin(), texts.end());
            std::set<std::string> different;
            for (const std::string& text : texts) different.insert(composed(text));
            if (different.size() < 2) continue;
            findings_.tell(Level::note, "category-case", "Expenses have ", texts,
                           ", which are as many categories: each has totals of its own.");
        }
    }

    void surveyBudgets() {
        Repeated repeated;
        for (const json::Value budget : objectArrayField(data_, "budgets")) {
            const std::string_view category = stringField(budget, "category");
            const std::string_view sub = stringField(budget, "subcategory");
            repeated.add(std::string(category) + '\0' + std::string(sub),
                         sub.empty() ? category : sub);
            const bool isUsed = surveyBudgetText(categories_, category, std::string(category));
            const std::string name = std::string(category) + " › " + std::string(sub);
            if (!isUsed || !surveyBudgetText(subcategories_, sub, name)) continue;
            if (!sub.empty() && !transactions_.haveBoth(category, sub)) unused_.push_back(name);
        }
        findings_.tell(Level::warning, "repeated-budget", "Several budgets limit ", repeated.texts,
                       ": each of them shows the same spending.");
        findings_.tell(Level::warning, "budget-splits", "A budget limits ", ofSplits_,
                       ", which only parts of split expenses have: budgets count an expense as a "
                       "whole, under its own category.");
        findings_.tell(Level::note, "budget-unused",
                       "No expense ever had what a budget limits: ", unused_,
                       ". Is it written as in the expenses?");
    }

    // Whether expenses have the text of a budget, just as it is written there.
    bool surveyBudgetText(const Alike& used, std::string_view text, const std::string& name) {
        const auto alike = used.find(loosely(text));
        if (alike != used.end()) {
            const Texts& texts = alike->second;
            const auto isSame = [&](auto& each) { return composed(each) == composed(text); };
            if (std::any_of(texts.begin(), texts.end(), isSame)) return true;
        }
        if (text.empty()) return true;
        if (alike != used.end()) {
            findings_.warn("budget-case", "Expenses have " + inQuotes(alike->second.front()) +
                                              ", and a budget limits " + inQuotes(text) +
                                              ": nothing counts towards it until both are written "
                                              "alike, blanks and letter case included.");
        } else if (transactions_.splitCategories().contains(text)) {
            ofSplits_.push_back(name);
        } else if (!transactions_.categories().empty()) {
            unused_.push_back(name);
        }
        return false;
    }

    Content& content_;
    Findings findings_;
    Tallies tallies_;
    json::Value data_;
    json::Children accounts_;
    TransactionSurvey transactions_;
    std::set<OtherCase> otherCase_;
    Alike categories_;  // of expenses
    Alike subcategories_;
    Texts ofSplits_;  // what budgets limit that only splits have
    Texts unused_;    // and what no expense has
};

}  // namespace

Content survey(json::Value data, Instant now) {
    Content content;
    Survey(content, data, now).run();
    return content;
}

}  // namespace tovra::check
