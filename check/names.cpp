#include "check/names.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <vector>

namespace tovra::check {
namespace {

// A name that is read, and what programs and people write instead.
struct Spellings {
    std::string_view read;
    std::array<std::string_view, 4> others = {};
};

// First those of Name, by their numbers. The last are members that are kept whole.
constexpr auto kSpellings = std::to_array<Spellings>({
    {"transactions", {"Transactions", "TRANSACTIONS", "transaction"}},
    {"type", {"Type", "TYPE"}},
    {"date", {"Date", "DATE"}},
    {"amount", {"Amount", "AMOUNT"}},
    {"currency", {"Currency", "CURRENCY"}},
    {"accountID", {"AccountID", "accountId", "accountid", "AccountId"}},
    {"transferAccountID",
     {"TransferAccountID", "transferAccountId", "transferaccountid", "TransferAccountId"}},
    {"payee", {"Payee", "PAYEE"}},
    {"category", {"Category", "CATEGORY"}},
    {"subcategory", {"Subcategory", "subCategory", "SubCategory"}},
    {"id", {"Id", "ID"}},
    {"splits", {"Splits"}},
    {"accounts", {"Accounts", "ACCOUNTS", "account"}},
    {"budgets", {"Budgets", "BUDGETS", "budget"}},
    {"fxRates", {"FxRates", "fxrates", "FXRates"}},
    {"goals", {"Goals", "GOALS", "goal"}},
    {"settings", {"Settings", "SETTINGS"}},
});
static_assert(kSpellings[kTransactionNames - 1].read == "id");

// Those of transactions, then all other spellings, then those that are kept whole.
struct Known {
    std::vector<std::string_view> names;
    std::vector<std::string_view> read;  // what each is read as
    std::uint32_t firstWhole = 0;

    Known() {
        const auto add = [&](std::string_view name, std::string_view as) {
            if (name.empty()) return;
            names.push_back(name);
            read.push_back(as);
        };
        const auto addRead = [&](std::size_t from, std::size_t to) {
            for (; from < to; ++from) add(kSpellings[from].read, kSpellings[from].read);
        };
        addRead(0, kTransactionNames);
        for (const auto& [name, others] : kSpellings) {
            for (const std::string_view other : others) add(other, name);
        }
        firstWhole = static_cast<std::uint32_t>(names.size());
        addRead(kTransactionNames, kSpellings.size());
        assert(names.size() <= json::Names::kMost);
    }
};

const Known& known() {
    static const Known all;
    return all;
}

}  // namespace

json::Names surveyedNames() {
    const std::uint64_t kept = (std::uint64_t{1} << known().names.size()) - 1;
    return {known().names, kept, known().firstWhole};
}

std::uint32_t placeOf(std::string_view name) {
    const auto& names = known().names;
    const auto found = std::find(names.begin(), names.end(), name);
    assert(found != names.end());
    return static_cast<std::uint32_t>(found - names.begin());
}

std::optional<OtherCase> otherCaseAt(std::uint32_t place, bool isOfTransaction) {
    const auto& [names, read, firstWhole] = known();
    if (place >= names.size() || names[place] == read[place]) return std::nullopt;
    const std::uint32_t at = placeOf(read[place]);
    const bool isTransactions = (at > 0 && at < kTransactionNames) || read[place] == "splits";
    if (isTransactions != isOfTransaction) return std::nullopt;
    return OtherCase{names[place], read[place]};
}

}  // namespace tovra::check
