#include "store/account_balances.h"

namespace tovra {

AccountBalances::AccountBalances(const json::Children& accounts, const Currencies& currencies)
    : currencies_(currencies) {
    accounts_.reserve(accounts.size());
    for (const json::Value account : accounts) {
        byID_[stringField(account, "id")].push_back(accounts_.size());
        accounts_.push_back(
            {stringField(account, "currency"), numberField(account, "openingBalance")});
    }
}

void AccountBalances::add(const Transaction& transaction) {
    const bool enters = transaction.isIncome();
    const bool moves = transaction.isTransfer();
    if (!enters && !moves && !transaction.isExpense()) return;
    move(stringField(transaction.record, "accountID"), transaction, enters ? 1 : -1);
    if (moves) move(stringField(transaction.record, "transferAccountID"), transaction, 1);
}

void AccountBalances::move(std::string_view accountID, const Transaction& transaction,
                           double sign) {
    const auto found = byID_.find(accountID);
    if (found == byID_.end()) return;
    for (const std::size_t index : found->second) {
        Account& account = accounts_[index];
        account.balance +=
            sign * currencies_.convert(transaction.amount, transaction.currency, account.currency);
    }
}

}  // namespace tovra
