#include "check/names.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "platform/unicode.h"

namespace tovra::check {
namespace {

// First the names that are read, then those that programs write in other letter case, and last the
// members that are kept whole, whatever names are in them.
constexpr auto kNames = std::to_array<std::string_view>({"transactions",
                                                         "type",
                                                         "date",
                                                         "amount",
                                                         "currency",
                                                         "accountID",
                                                         "transferAccountID",
                                                         "payee",
                                                         "category",
                                                         "subcategory",
                                                         "id",

                                                         "Type",
                                                         "Date",
                                                         "Amount",
                                                         "Currency",
                                                         "AccountID",
                                                         "TransferAccountID",
                                                         "Payee",
                                                         "Category",
                                                         "Subcategory",
                                                         "Id",
                                                         "ID",
                                                         "Splits",
                                                         "accountId",
                                                         "transferAccountId",
                                                         "accountid",
                                                         "transferaccountid",
                                                         "AccountId",
                                                         "TransferAccountId",
                                                         "subCategory",
                                                         "SubCategory",
                                                         "TYPE",
                                                         "DATE",
                                                         "AMOUNT",
                                                         "CURRENCY",
                                                         "PAYEE",
                                                         "CATEGORY",
                                                         "Transactions",
                                                         "TRANSACTIONS",
                                                         "Accounts",
                                                         "ACCOUNTS",
                                                         "Budgets",
                                                         "BUDGETS",
                                                         "FxRates",
                                                         "fxrates",
                                                         "FXRates",
                                                         "Goals",
                                                         "GOALS",
                                                         "Settings",
                                                         "SETTINGS",

                                                         "splits",
                                                         "accounts",
                                                         "budgets",
                                                         "fxRates",
                                                         "goals",
                                                         "settings"});
static_assert(kNames.size() <= json::Names::kMost);
static_assert(kNames[kTransactionNames - 1] == "id" && kNames[kTransactionNames] == "Type");
constexpr std::uint32_t kFirstWhole = kNames.size() - 6;
static_assert(kNames[kFirstWhole] == "splits");

}  // namespace

json::Names surveyedNames() {
    return {kNames, (std::uint64_t{1} << kNames.size()) - 1, kFirstWhole};
}

std::uint32_t placeOf(std::string_view name) {
    const auto* found = std::find(kNames.begin(), kNames.end(), name);
    assert(found != kNames.end());
    return static_cast<std::uint32_t>(found - kNames.begin());
}

std::optional<OtherCase> otherCaseAt(std::uint32_t place) {
    if (place < kTransactionNames || place >= kFirstWhole) return std::nullopt;
    const std::string_view seen = kNames[place];
    for (std::uint32_t i = 0; i < kNames.size(); ++i) {
        const bool isRead = i < kTransactionNames || i >= kFirstWhole;
        if (isRead && nameForm(kNames[i]) == nameForm(seen)) return OtherCase{seen, kNames[i]};
    }
    return std::nullopt;
}

}  // namespace tovra::check
