#include <cmath>
#include <cstddef>

#include "store/account_balances.h"
#include "store/currencies.h"
#include "store/data_file.h"
#include "store/dates.h"
#include "store/fields.h"
#include "store/money.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using Field = TransactionField;

// What came in and went out in the current month, in base currency.
class MonthTotals {
  public:
    MonthTotals(Instant now, const Currencies& currencies)
        : month_(monthOf(now)), currencies_(currencies) {}

    void add(const Transaction& transaction) {
        if (!transaction.isIncome() && !transaction.isExpense()) return;
        if (!month_.contains(transaction.date(), dayFormatter_)) return;
        (transaction.isIncome() ? income : spending) +=
            currencies_.convertToBase(transaction.amount(), transaction.currency());
    }

    double income = 0;
    double spending = 0;

  private:
    Period month_;
    const Currencies& currencies_;
    DayFormatter dayFormatter_;
};

// What an account adds to the net worth, in base currency. A liability always lowers it.
double netWorthShare(json::Value account, double balance, const Currencies& currencies) {
    if (boolField(account, "includeInNetWorth") == false) return 0;
    const double value = currencies.convertToBase(balance, stringField(account, "currency"));
    const std::string_view type = stringField(account, "type");
    return type == "Credit Card" || type == "Loan" ? -std::fabs(value) : value;
}

}  // namespace

std::string toolOverview(Instant now) {
    const json::Document document =
        loadData({Field::type, Field::date, Field::amount, Field::currency, Field::accountID,
                  Field::transferAccountID});
    const json::Value data = document.root();
    const Currencies currencies(data);
    const json::Children accounts = objectArrayField(data, "accounts");

    AccountBalances balances(accounts, currencies);
    MonthTotals month(now, currencies);
    for (const json::Value record : objectArrayField(data, "transactions")) {
        const Transaction transaction(record);
        balances.add(transaction);
        month.add(transaction);
    }

    double netWorth = 0;
    std::string accountLines;
    for (std::size_t i = 0; i < accounts.size(); ++i) {
        if (boolField(accounts[i], "archived") == true) continue;
        const double balance = balances.accountBalance(i);
        netWorth += netWorthShare(accounts[i], balance, currencies);
        accountLines += "\n  • ";
        accountLines += stringField(accounts[i], "name");
        accountLines += ": ";
        accountLines += moneyText(stringField(accounts[i], "currency"), balance);
    }

    const std::string_view base = currencies.base();
    std::string text = "Base currency: ";
    text += base;
    text += "\nNet worth: " + moneyText(base, netWorth);
    text += "\nThis month — income: " + moneyText(base, month.income);
    text += ", spending: " + moneyText(base, month.spending);
    text += ", net: " + moneyText(base, month.income - month.spending);
    if (!accountLines.empty()) text += "\nAccounts:" + accountLines;
    return text;
}

}  // namespace tovra
