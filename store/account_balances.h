// The balances of all accounts, gathered in one pass over the transactions.
#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "json/json.h"
#include "store/currencies.h"
#include "store/lookup_cache.h"
#include "store/transaction.h"

namespace tovra {

// Starts with every account's opening balance. Each transaction is added, in file order. Every
// balance is then the very double that adding up that account's transactions alone gives.
// Keeps views into the document and a reference to the currencies, which must outlive it.
class AccountBalances {
  public:
    AccountBalances(const json::Children& accounts, const Currencies& currencies);

    // Income enters the account that the transaction names, an expense leaves it, and a transfer
    // leaves it for another; the amount is converted into the currency of each account. Any other
    // type, and identifiers that no account has, change nothing.
    void add(const Transaction& transaction);

    // The balance of the account at that place in the list, unrounded, in the account's currency.
    [[nodiscard]] double accountBalance(std::size_t index) const {
        return accounts_[index].balance;
    }

  private:
    struct Account {
        std::string_view currency;
        double balance;
    };

    void post(std::string_view accountID, double amount, std::string_view currency);

    const Currencies& currencies_;
    std::vector<Account> accounts_;
    using Places = std::vector<std::size_t>;  // in accounts_

    std::unordered_map<std::string_view, Places> byID_;
    LookupCache<const Places*> found_;
};

}  // namespace tovra
