#include "check/transactions.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "check/names.h"
#include "platform/unicode.h"
#include "store/fields.h"

namespace tovra::check {
namespace {

Counts sorted(const Numbers& numbers) {
    Counts counts(numbers.begin(), numbers.end());
    std::sort(counts.begin(), counts.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    return counts;
}

}  // namespace

// The members of one transaction, found in one walk. Of those with one name the last counts.
struct TransactionSurvey::Record {
    Record(json::Value record, std::size_t place) : number(place) {
        for (const json::Value member : record.children()) {
            const std::uint32_t index = member.nameIndex();
            if (index >= members.size()) {
                if (member.name() == "splits") splits = member;
                if (index < json::Names::kMost) others |= std::uint64_t{1} << index;
            } else {
                if (members[index].exists()) repeated = member;
                members[index] = member;
            }
        }
    }

    [[nodiscard]] json::Value operator[](Name name) const {
        return members[static_cast<std::uint32_t>(name)];
    }
    [[nodiscard]] std::string_view text(Name name) const { return asString((*this)[name]); }
    [[nodiscard]] bool hasAmount() const { return (*this)[Name::amount].is(json::Kind::number); }
    [[nodiscard]] bool isTransfer() const { return text(Name::type) == "Transfer"; }
    [[nodiscard]] bool isExpense() const { return text(Name::type) == "Expense"; }

    [[nodiscard]] Example example(std::optional<json::Value> value = {}) const {
        const std::string_view payee = text(Name::payee);
        return {number, payee.empty() ? text(Name::category) : payee, text(Name::date), value};
    }

    // A hash that is the same for transactions of the same day, amount, payee and so on.
    // REQUIRES: the amount is a number.
    [[nodiscard]] std::size_t likeness() const {
        const std::hash<std::string_view> hash;
        std::size_t all = hash((*this)[Name::amount].numberText());
        for (const Name name : {Name::date, Name::type, Name::currency, Name::payee, Name::category,
                                Name::accountID}) {
            all = (all ^ hash(text(name))) * 0x9E3779B97F4A7C15U;
        }
        return all ^ all >> 32;
    }

    std::size_t number;  // counted from 1
    std::array<json::Value, kTransactionNames> members;
    json::Value splits;
    json::Value repeated;      // a member whose name occurs twice
    std::uint64_t others = 0;  // a bit for the place of each other name that it has
};

TransactionSurvey::TransactionSurvey(Content& content, Tallies& tallies, json::Value data,
                                     Instant now)
    : content_(content),
      tallies_(tallies),
      transactions_(objectArrayField(data, "transactions")),
      month_(monthOf(now)),
      now_(now) {
    for (const json::Value account : objectArrayField(data, "accounts")) {
        accounts_.insert(stringField(account, "id"));
    }
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        if (kFields[i].list == "transactions") fields_.emplace_back(i, placeOf(kFields[i].member));
    }
}

void TransactionSurvey::run() {
    std::size_t number = 0;
    for (const json::Value record : transactions_) add(Record(record, ++number));
    tallyRepeated(Rule::repeatedID);
    if (tallies_[Rule::repeatedID].count == 0) tallyRepeated(Rule::twin);
    content_.types = sorted(types_);
    content_.currencies = sorted(currencies_);
}

void TransactionSurvey::add(const Record& record) {
    ++types_[record.text(Name::type)];
    ++currencies_[record.text(Name::currency)];
    const Example example = record.example();
    for (const auto& [field, name] : fields_) tallies_.look(field, record.members[name], example);
    addDate(record);
    addAccounts(record);
    addCategories(record);
    const std::string_view type = record.text(Name::type);
    if (type != "Income" && type != "Expense" && type != "Transfer") {
        tallies_[Rule::unknownType].add(record.example(record[Name::type]));
    }
    if (record.repeated.exists()) {
        tallies_[Rule::repeatedMember].add(record.example(record.repeated));
    }
    others_ |= record.others;
}

void TransactionSurvey::addDate(const Record& record) {
    constexpr Instant kOldest = -2208988800;  // 1900-01-01
    constexpr Instant kDay = 86400;
    const auto date = parseDate(record.text(Name::date), dayFormatter_);
    if (!date) {
        ++content_.undated;
        Example example = record.example(record[Name::date]);
        example.day = {};
        return tallies_[Rule::noDate].add(example);
    }
    if (*date < kOldest || *date > now_ + 366 * kDay) {
        tallies_[Rule::oddDate].add(record.example());
    } else if (*date > now_ + kDay) {
        tallies_[Rule::future].add(record.example());
    }
    if (!content_.dates) content_.dates = {*date, *date};
    content_.dates->first = std::min(content_.dates->first, *date);
    content_.dates->second = std::max(content_.dates->second, *date);
    if (month_.contains(*date)) ++content_.thisMonth;
}

// Counts the transaction at most once, whatever is wrong with the accounts that it names.
void TransactionSurvey::addAccounts(const Record& record) {
    const std::string_view type = record.text(Name::type);
    if (!record.isTransfer() && type != "Income" && type != "Expense") return;
    const auto missing = [&](Name name) { return !accounts_.contains(record.text(name)); };
    const auto unknown = [&](Name name) { return missing(name) && !record.text(name).empty(); };
    const Name other = record.isTransfer() ? Name::transferAccountID : Name::accountID;
    for (const Name name : {Name::accountID, other}) {
        if (!unknown(name)) continue;
        return tallies_[Rule::unknownAccount].add(record.example(record[name]));
    }
    if (record.isTransfer() && record.text(Name::accountID) == record.text(other) &&
        !missing(other)) {
        tallies_[Rule::selfTransfer].add(record.example());
    }
    if (missing(Name::accountID) && missing(other)) {
        tallies_[Rule::noAccount].add(record.example());
    } else if (missing(Name::accountID) || missing(other)) {
        tallies_[Rule::halfTransfer].add(record.example());
    }
}

void TransactionSurvey::addCategories(const Record& record) {
    const bool hasSplits = record.splits.exists() && !record.splits.is(json::Kind::null);
    if (hasSplits && !record.splits.isArrayOfObjects()) {
        tallies_[Rule::noSplits].add(record.example(record.splits));
    }
    double sum = 0;
    for (const json::Value split : asObjectArray(record.splits)) {
        tallies_.look("splits", split, record.example());
        sum += numberField(split, "amount");
        if (record.isExpense()) ++splitCategories_[stringField(split, "category")];
    }
    if (!record.isExpense()) return;
    const json::Value amount = record[Name::amount];
    if (!asObjectArray(record.splits).empty() && !(std::abs(sum - asNumber(amount)) < 0.005)) {
        tallies_[Rule::splitsSum].add(record.example(amount));
    }
    ++categories_[record.text(Name::category)];
    ++subcategories_[record.text(Name::subcategory)];
}

// Tallies the records whose hash one before has. A few are bought twice a day, so that two of five
// have to be twins. It takes a walk of its own, so that the hashes for one rule are gone before
// those for the next one come.
void TransactionSurvey::tallyRepeated(Rule rule) {
    std::vector<std::pair<std::size_t, std::uint32_t>> hashes;
    hashes.reserve(transactions_.size());
    std::uint32_t number = 0;
    for (const json::Value value : transactions_) {
        const Record record(value, ++number);
        const std::string_view id = record.text(Name::id);
        if (rule == Rule::twin && record.hasAmount()) {
            hashes.emplace_back(record.likeness(), number);
        } else if (rule == Rule::repeatedID && !id.empty()) {
            hashes.emplace_back(std::hash<std::string_view>()(id), number);
        }
    }
    std::sort(hashes.begin(), hashes.end());
    std::vector<std::uint32_t> later;
    for (std::size_t i = 1; i < hashes.size(); ++i) {
        if (hashes[i].first == hashes[i - 1].first) later.push_back(hashes[i].second);
    }
    if (rule == Rule::twin && (later.size() < 2 || later.size() * 5 < hashes.size() * 2)) return;
    std::sort(later.begin(), later.end());
    for (const std::uint32_t each : later) {
        tallies_[rule].add(Record(transactions_[each - 1], each).example());
    }
}

bool TransactionSurvey::haveBoth(std::string_view category, std::string_view subcategory) const {
    const auto isSame = [](std::string_view a, std::string_view b) {
        return a == b || composed(a) == composed(b);
    };
    return std::any_of(transactions_.begin(), transactions_.end(), [&](json::Value record) {
        return isSame(stringField(record, "subcategory"), subcategory) &&
               isSame(stringField(record, "category"), category) &&
               stringField(record, "type") == "Expense";
    });
}

std::set<OtherCase> TransactionSurvey::otherCase() const {
    std::set<OtherCase> names;
    for (std::uint32_t place = 0; place < json::Names::kMost; ++place) {
        const auto name = otherCaseAt(place, true);
        if (name && (others_ >> place & 1U) != 0) names.insert(*name);
    }
    return names;
}

}  // namespace tovra::check
