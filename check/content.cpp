#include "check/content.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "check/transactions.h"
#include "platform/unicode.h"
#include "store/currencies.h"
#include "store/fields.h"

namespace tovra::check {
namespace {

// Gathers the texts that occur more than once, each once, in the order of their second occurrence.
class Repeated {
  public:
    void add(std::string_view key, std::string_view text) {
        if (++numbers_[std::string(key)] == 2) texts.push_back(text);
    }
    Texts texts;

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

// The document itself: the names of its members, and those that hold no list.
void surveyMembers(Content& content, json::Value data) {
    Repeated repeated;
    for (const json::Value member : data.children()) {
        repeated.add(member.name(), member.name());
        if (const auto name = otherCaseAt(member.nameIndex())) content.otherCase.push_back(*name);
    }
    // Of such members the server sees the last.
    content.repeatedMembers = std::move(repeated.texts);
    for (const std::string_view name : {"settings", "fxRates"}) {
        const json::Value value = data.member(name);
        if (value.exists() && !value.is(json::Kind::object)) content.notObjects.push_back(name);
    }
    const json::Value base = objectField(data, "settings").member("baseCurrency");
    content.namesBaseCurrency = base.is(json::Kind::string);
    if (!content.namesBaseCurrency) content.wrongBaseCurrency = base;
    content.baseCurrency = baseCurrency(data);
}

// The records of accounts, budgets or goals, one by one.
void surveyRecords(Content& content, const List& list) {
    std::size_t number = 0;
    for (const json::Value record : asObjectArray(list.value)) {
        const bool isBudget = list.name == "budgets";
        const Example example{++number, stringField(record, isBudget ? "category" : "name"), {}};
        content.tallies.look(list.name, record, example);
    }
}

// Without regard to letter case and to blanks.
std::string loosely(std::string_view text) {
    std::string letters;
    for (std::size_t at = 0; at < text.size(); ++at) {
        constexpr std::string_view kNoBreakSpace = "\u00A0";
        if (text.substr(at).starts_with(kNoBreakSpace)) {
            ++at;
        } else if (text[at] != ' ' && text[at] != '\t') {
            letters += text[at];
        }
    }
    return nameForm(letters);
}

void surveyAccounts(Content& content, const json::Children& accounts) {
    Repeated ids;
    Repeated names;
    for (const json::Value account : accounts) {
        if (boolField(account, "archived") == true) ++content.archivedAccounts;
        const std::string_view id = stringField(account, "id");
        const std::string_view name = stringField(account, "name");
        for (const std::string_view liability : {"Credit Card", "Loan"}) {
            const std::string_view type = stringField(account, "type");
            if (type != liability && loosely(type) == loosely(liability)) {
                content.accountTypes.emplace_back(type, liability);
            }
        }
        ids.add(id, id);
        names.add(nameForm(name), name);
    }
    content.sharedIDs = std::move(ids.texts);
    content.repeatedAccountNames = std::move(names.texts);
}

void surveyGoals(Content& content, const json::Children& goals) {
    Repeated names;
    for (const json::Value goal : goals) {
        const std::string_view name = stringField(goal, "name");
        names.add(nameForm(name), name);
    }
    content.repeatedGoalNames = std::move(names.texts);
}

// The text among those in use that is loosely the same; nothing where there is none.
std::optional<std::string_view> looselyIn(const Numbers& used, std::string_view text) {
    const std::string wanted = loosely(text);
    for (const auto& [each, count] : used) {
        if (loosely(each) == wanted) return each;
    }
    return std::nullopt;
}

// Whether expenses have the text of a budget, just as it is written there.
void surveyBudgetText(Content& content, const TransactionSurvey& transactions, const Numbers& used,
                      std::string_view text) {
    if (text.empty() || used.contains(text)) return;
    if (const auto other = looselyIn(used, text)) {
        // Of letters that are composed differently, each counts for the other.
        if (composed(*other) != composed(text)) {
            content.budgetsInOtherCase.emplace_back(text, *other);
        }
    } else if (transactions.splitCategories().contains(text)) {
        content.budgetsOfSplits.push_back(text);
    } else if (!transactions.categories().empty()) {
        content.unusedBudgets.push_back(text);
    }
}

void surveyBudgets(Content& content, const json::Children& budgets,
                   const TransactionSurvey& transactions) {
    Repeated repeated;
    for (const json::Value budget : budgets) {
        const std::string_view category = stringField(budget, "category");
        const std::string_view sub = stringField(budget, "subcategory");
        repeated.add(std::string(category) + '\0' + std::string(sub), sub.empty() ? category : sub);
        surveyBudgetText(content, transactions, transactions.categories(), category);
        if (!transactions.categories().contains(category)) continue;
        surveyBudgetText(content, transactions, transactions.subcategories(), sub);
    }
    content.repeatedBudgets = std::move(repeated.texts);
}

// Whether each currency in use has a rate, and each rate is a positive number.
void surveyRates(Content& content, json::Value data, const json::Children& accounts) {
    const ExchangeRates rates = fxRates(data);
    const auto ofBase = rates.find(content.baseCurrency);
    content.hasRateOfBase = ofBase != rates.end() && ofBase->second != 1;
    std::set<std::string_view> used;
    for (const auto& [currency, count] : content.currencies) used.insert(currency);
    for (const json::Value account : accounts) used.insert(stringField(account, "currency"));
    std::map<std::string, std::string_view> codes = {
        {nameForm(content.baseCurrency), content.baseCurrency}};
    for (const auto& [currency, rate] : rates) codes.emplace(nameForm(currency), currency);
    for (const std::string_view currency : used) {
        if (currency == content.baseCurrency) continue;
        const auto rate = rates.find(currency);
        if (rate == rates.end()) {
            const auto close = codes.find(nameForm(currency));
            content.withoutRate.emplace_back(currency, close == codes.end() ? "" : close->second);
        } else if (!(rate->second > 0) || std::isinf(rate->second)) {
            content.wrongRates.push_back(currency);
        }
    }
}

}  // namespace

std::optional<Wrong> faultOf(const Field& field, json::Value value) {
    if (!value.exists() || value.is(json::Kind::null)) {
        return field.isNeeded ? std::optional(Wrong::type) : std::nullopt;
    }
    const bool isTruth = value.boolean().has_value();
    if (field.wants == Wants::text || field.wants == Wants::truth) {
        const bool isRight = field.wants == Wants::truth ? isTruth : value.is(json::Kind::string);
        return isRight ? std::nullopt : std::optional(Wrong::type);
    }
    // A few digits are neither below 0 nor too large, whatever they are.
    constexpr std::size_t kFew = 12;
    const bool isNumber = value.is(json::Kind::number);
    if (isNumber && value.numberText().size() <= kFew &&
        value.numberText().find_first_not_of("0123456789.") == std::string_view::npos) {
        return std::nullopt;
    }
    const auto number = value.number();
    if (!number) return isTruth ? std::nullopt : std::optional(Wrong::type);
    if (std::isinf(*number)) return Wrong::tooLarge;
    if (*number < 0 && field.wants == Wants::positiveNumber) return Wrong::negative;
    return std::nullopt;
}

void Tallies::look(std::size_t field, json::Value value, Example example) {
    const auto wrong = faultOf(kFields[field], value);
    if (!wrong) return;
    example.value = value;
    fields[field][static_cast<std::size_t>(*wrong)].add(example);
}

void Tallies::look(std::string_view list, json::Value object, const Example& example) {
    for (std::size_t field = 0; field < kFields.size(); ++field) {
        if (kFields[field].list != list) continue;
        look(field, object.member(kFields[field].member), example);
    }
}

Content survey(json::Value data, Instant now) {
    Content content;
    surveyMembers(content, data);
    content.lists = {look(data, "accounts"), look(data, "transactions"), look(data, "budgets"),
                     look(data, "goals")};
    for (const List& list : content.lists) {
        if (list.name != "transactions") surveyRecords(content, list);
    }
    const json::Children accounts = objectArrayField(data, "accounts");
    surveyAccounts(content, accounts);
    surveyGoals(content, objectArrayField(data, "goals"));
    TransactionSurvey transactions(content, data, now);
    transactions.run();
    surveyBudgets(content, objectArrayField(data, "budgets"), transactions);
    surveyRates(content, data, accounts);
    return content;
}

}  // namespace tovra::check
