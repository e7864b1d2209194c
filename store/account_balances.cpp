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
    const double amount = transaction.amount();
    const std::string_view currency = transaction.currency();
    post(transaction.accountID(), enters ? amount : -amount, currency);
    if (moves) post(transaction.transferAccountID(), amount, currency);
}

void AccountBalances::post(std::string_view accountID, double amount, std::string_view currency) {
    static const Places kNone;
    const auto lookUp = [&](std::string_view id) {
        const auto found = byID_.find(id);
        return found == byID_.end() ? &kNone : &found->second;
    };
    for (const std::size_t index : *found_.find(accountID, lookUp)) {
        Account& account = accounts_[index];
        account.balance += currencies_.convert(amount, currency, account.currency);
    }
}

}  // namespace tovra
