#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "json/object_text.h"
#include "json/write.h"
#include "platform/unicode.h"
#include "platform/uuid.h"
#include "store/currencies.h"
#include "store/fields.h"
#include "store/money.h"
#include "store/recording.h"
#include "tools/tools.h"

namespace tovra {
namespace {

// The transaction that a call asks for, as far as its arguments alone tell.
struct NewTransaction {
    std::string id;
    std::string date;
    std::string_view payee;
    std::string_view category;
    double amount;
    std::string currency;  // empty: the base currency
    std::string_view type;
    std::string_view note;
    std::string_view account;  // the name of the account to attach to; empty: none
};

std::string_view knownType(std::string_view type) {
    constexpr std::array<std::string_view, 3> kTypes = {"Income", "Expense", "Transfer"};
    return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end() ? type : "Expense";
}

NewTransaction readArguments(json::Value arguments, Instant now) {
    DayFormatter dayFormatter;
    const auto date = parseDate(stringField(arguments, "date"), dayFormatter);
    const std::string_view category = stringField(arguments, "category");
    return {.id = randomUuid(),
            .date = isoFormatter.format(date.value_or(now)),
            .payee = stringField(arguments, "payee"),
            .category = category.empty() ? "Other" : category,
            .amount = numberField(arguments, "amount"),
            .currency = upperCased(stringField(arguments, "currency")),
            .type = knownType(stringField(arguments, "type")),
            .note = stringField(arguments, "note"),
            .account = stringField(arguments, "account")};
}

std::string recordText(const NewTransaction& transaction, std::string_view currency,
                       json::Value account) {
    json::ObjectText record;
    record.addString("id", transaction.id)
        .addString("date", transaction.date)
        .addString("payee", transaction.payee)
        .addString("category", transaction.category)
        .addString("currency", currency)
        .addString("type", transaction.type)
        .addString("note", transaction.note);
    if (account.exists()) record.addString("accountID", stringField(account, "id"));
    return record.add("amount", json::numberText(transaction.amount)).close();
}

json::Edit appendRecord(const DataSnapshot& snapshot, const std::string& record) {
    const json::Value transactions = snapshot.root().member("transactions");
    if (!transactions.exists()) return {snapshot.root(), "transactions", "[" + record + "]"};
    if (!transactions.isArrayOfObjects()) {
        snapshot.refuse("The member \"transactions\" of the data file is not a list of objects");
    }
    return {transactions, "", record};
}

}  // namespace

std::string toolAddTransaction(json::Value arguments, Instant now) {
    const NewTransaction transaction = readArguments(arguments, now);
    if (!(transaction.amount > 0)) return "Error: amount must be greater than zero.";

    return changeDataFile([&](const DataSnapshot& snapshot) -> Change {
        if (snapshot.problem) snapshot.refuse(*snapshot.problem);
        if (std::isinf(transaction.amount)) {
            snapshot.refuse("The amount is too large to be recorded");
        }
        const std::string_view currency =
            transaction.currency.empty() ? baseCurrency(snapshot.root()) : transaction.currency;
        const json::Value account =
            transaction.account.empty()
                ? json::Value()
                : namedObject(snapshot.root(), "accounts", transaction.account);

        std::string text = "Added: ";
        text += transaction.type == "Expense" ? "−" : "+";
        text += moneyText(currency, transaction.amount) + " ";
        text += transaction.payee;
        text += " [";
        text += transaction.category;
        text += "]. Reopen or refresh Tovra to see it.";
        return {appendRecord(snapshot, recordText(transaction, currency, account)),
                std::move(text)};
    });
}

}  // namespace tovra
