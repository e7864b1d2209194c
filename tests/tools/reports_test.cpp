#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using namespace std::string_literals;

constexpr Instant kNow = 1794841200;  // 2026-11-16T15:00:00Z
constexpr const char* kNewYork = "America/New_York";

const std::string noData[] = {"",
                              "{",
                              "[]",
                              "{}",
                              R"([{"transactions":[{}]}])",
                              R"({"accounts":[{},1],"transactions":[{"type":"Expense",
                                  "date":"2026-11-16"},[]],"budgets":[{},""],"goals":[null]})",
                              R"({"accounts":{},"transactions":"x","budgets":1,"goals":{}})"};

TEST(Reports, AnswerWithoutData) {
    for (const std::string& text : noData) {
        const test::DataFile data(text);
        EXPECT_EQ(toolOverview(),
                  "Base currency: USD\nNet worth: USD 0.00\n"
                  "This month — income: USD 0.00, spending: USD 0.00, net: USD 0.00")
            << text;
        EXPECT_EQ(toolListTransactions({}), "No matching transactions.") << text;
        EXPECT_EQ(toolSpendingByCategory({}), "No spending in the last 30 days.") << text;
        EXPECT_EQ(toolListBudgets(), "No budgets set.") << text;
        EXPECT_EQ(toolListGoals(), "No savings goals.") << text;
    }
    const test::DataFile data(R"({"settings":{"baseCurrency":""},"accounts":[{"archived":true}]})");
    EXPECT_EQ(toolOverview(),
              "Base currency: \nNet worth:  0.00\n"
              "This month — income:  0.00, spending:  0.00, net:  0.00");
}

TEST(Reports, OverviewOfAMonthAndItsAccounts) {
    const test::DataFile data(R"({"fxRates":{"EUR":1.1,"GBP":1.25,"XXX":"bad"},"accounts":[
        {"id":"c","name":"Checking","currency":"USD","openingBalance":700},
        {"id":"v","name":"Visa","type":"Credit Card","currency":"USD","openingBalance":-400},
        {"id":"h","name":"Home","type":"Loan","currency":"EUR","openingBalance":-10000},
        {"id":"o","name":"Overpaid","type":"Credit Card","currency":"USD","openingBalance":150},
        {"name":"Hidden","archived":true,"openingBalance":5000},
        {"id":"s","name":"Shown","archived":"true","currency":"XXX","openingBalance":-0.0},
        {"id":"a","name":"Aside","includeInNetWorth":false,"currency":"GBP"},
        {"name":"Cash","openingBalance":12},
        {"id":"l","name":"Lent","type":"loan","includeInNetWorth":0,"openingBalance":true}],
      "transactions":[
        {"type":"Income","amount":3000,"currency":"USD","accountID":"c","date":"2026-11-01"},
        {"type":"Expense","amount":1200,"currency":"USD","accountID":"c","date":"2026-12-01T04:59:59Z"},
        {"type":"Expense","amount":50,"currency":"GBP","accountID":"x","date":"2026-11-30"},
        {"type":"Expense","amount":7,"date":"2026-12-01"},
        {"type":"Income","amount":5,"accountID":"x","date":"2026-11-01T03:59:59Z"},
        {"type":"Expense","amount":9,"accountID":"x","date":"n/a"},
        {"type":"Transfer","amount":10,"currency":"USD","accountID":"c","transferAccountID":"a",
         "date":"2026-11-10"},
        {"type":"Income","amount":"5","accountID":"v","date":"2026-11-05"},
        {"type":"Refund","amount":5,"accountID":"v","date":"2026-11-05"},
        {"type":"Expense","amount":-20,"currency":"EUR","accountID":"v","date":"2026-11-16T15:00:00Z"}
      ]})");
    const std::pair<const char*, const char*> months[] = {
        {kNewYork, "income: USD 3000.00, spending: USD 1240.50, net: USD 1759.50"},
        {"Pacific/Auckland", "income: USD 3005.00, spending: USD 40.50, net: USD 2964.50"}};
    for (const auto& [zone, month] : months) {
        const test::EnvironmentScope scope("TZ", zone);
        EXPECT_EQ(toolOverview(kNow), "Base currency: USD\nNet worth: USD -9032.00\nThis month — " +
                                          std::string(month) +
                                          "\nAccounts:"
                                          "\n  • Checking: USD 2490.00\n  • Visa: USD -378.00"
                                          "\n  • Home: EUR -10000.00\n  • Overpaid: USD 150.00"
                                          "\n  • Shown: XXX -0.00\n  • Aside: GBP 8.00"
                                          "\n  • Cash:  5.00\n  • Lent:  1.00")
            << zone;
    }
}

TEST(Reports, ListingFiltersSortsAndCuts) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(R"({"transactions":[
        {"date":"2026-11-16T03:30:00Z","type":"Expense","amount":4.5,"currency":"EUR",
         "payee":"Cafe Roma","category":"Food"},
        {"date":"2026-11-15","type":"Income","amount":12,"currency":"USD","payee":"Acme",
         "category":"Salary"},
        {"date":"n/a","type":"Expense","amount":-5,"currency":"USD","category":"Food"},
        {"date":"2026-11-15","type":"Transfer","amount":"7","currency":"USD","payee":"Straße"},
        {"date":"2999-01-01","amount":true},
        {"date":7,"type":"expense","amount":-0.0,"currency":"","payee":"Market","category":"Food"},
        {"date":"2026-11-15T15:00:00Z","type":"Expense","amount":2.675,"currency":"usd",
         "payee":"Edge","category":"É\u0000K"}]})");
    const std::string rows[] = {"\n2999-01-01  + 1.00   []",
                                "\n2026-11-15  −EUR 4.50  Cafe Roma [Food]",
                                "\n2026-11-15  −usd 2.67  Edge [É\0K]"s,
                                "\n2026-11-15  +USD 12.00  Acme [Salary]",
                                "\n2026-11-15  +USD 0.00  Straße []",
                                "\n?  −USD -5.00  Food [Food]",
                                "\n?  + -0.00  Market [Food]"};
    struct Case {
        std::string shown;  // the rows by their numbers
        std::size_t matching;
        std::vector<const char*> arguments;
    };
    const Case cases[] = {
        {"0123456",
         7,
         {"{}", R"({"limit":0})", R"({"limit":-1})", R"({"limit":0.5})", R"({"limit":"1"})",
          R"({"limit":1e19})", R"({"limit":100})", R"({"type":""})", R"({"type":"All"})",
          R"({"type":["Expense"]})", R"({"search":7})", R"({"days":0})", R"({"days":"1"})",
          R"({"days":-1e300})", R"({"days":1e15})", R"({"days":2})"}},
        {"01", 7, {R"({"limit":2.9})"}},
        {"0", 7, {R"({"limit":true})"}},
        {"125", 3, {R"({"type":"Expense"})"}},
        {"6", 1, {R"({"type":"expense"})"}},
        {"1", 1, {R"({"search":"CAFE"})"}},
        {"156", 3, {R"({"search":"fOOd"})"}},
        {"4", 1, {R"({"search":"STRAßE"})"}},
        {"2", 1, {R"({"search":"é\u0000k"})"}},
        {"01256", 5, {R"({"days":1})", R"({"days":1.9})", R"({"days":true})"}},
        {"1", 2, {R"({"days":1,"type":"Expense","search":"e","limit":1})"}},
        {"", 0, {R"({"type":"all"})", R"({"search":" cafe"})", R"({"search":"strasse"})"}}};
    for (const auto& [shown, matching, arguments] : cases) {
        std::string expected = shown.empty() ? "No matching transactions."
                                             : "Showing " + std::to_string(shown.size()) + " of " +
                                                   std::to_string(matching) + ":";
        for (const char number : shown) expected += rows[number - '0'];
        for (const char* text : arguments) {
            EXPECT_EQ(toolListTransactions(json::parse(text)->root(), kNow), expected) << text;
        }
    }
}

TEST(Reports, ListingShowsTwentyRowsByDefault) {
    std::string many = R"({"transactions":[{})";
    for (int i = 1; i < 25; ++i) many += ",{}";
    const test::DataFile data(many + "]}");
    const std::string text = toolListTransactions({}, kNow);
    EXPECT_TRUE(text.starts_with("Showing 20 of 25:\n?  + 0.00   []\n?")) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 20);
}

TEST(Reports, SpendingFollowsSplitsAndRates) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(R"({"fxRates":{"EUR":1.1,"XXX":[]},"transactions":[
        {"type":"Expense","date":"2026-11-14","amount":50,"currency":"EUR","category":"Food"},
        {"type":"Expense","date":"2026-11-10","amount":40,"category":"Shopping",
         "splits":[{"category":"Home","amount":25},{"category":"Food","amount":15}]},
        {"type":"Expense","date":"2026-11-10","amount":8,"category":"Odd","splits":[]},
        {"type":"Expense","date":"2026-11-10","amount":9,"category":"Odd",
         "splits":[{"category":"Home","amount":1},7]},
        {"type":"Expense","date":"2026-11-10","amount":1,"currency":"EUR","splits":[{"amount":10}]},
        {"type":"Expense","date":"2026-11-10","amount":3,"currency":"JPY","category":"food"},
        {"type":"Expense","date":"2026-11-10","amount":"4","category":"Zero"},
        {"type":"Expense","date":"2026-11-10","amount":99,"currency":"XXX","category":"Zero"},
        {"type":"Expense","date":"2026-10-17T14:00:00Z","amount":100,"category":"Edge"},
        {"type":"Expense","date":"2026-10-17T13:59:59Z","amount":1000,"category":"Edge"},
        {"type":"Expense","date":"n/a","amount":1000,"category":"Edge"},
        {"type":"expense","date":"2026-11-10","amount":1000,"category":"Edge"},
        {"type":"Income","date":"2026-11-10","amount":1000,"category":"Edge"},
        {"type":"Expense","date":"2999-01-01","amount":1,"category":"Edge"},
        {"type":"Expense","date":"2026-11-10","amount":-20,"category":"Food"},
        {"type":"Expense","date":"2026-11-10","amount":-0.0,"category":"Even"}]})");
    const std::string month =
        "Spending by category (last 30 days):\n  • Edge: USD 101.00\n  • Food: USD 50.00"
        "\n  • Home: USD 25.00\n  • Odd: USD 17.00\n  • : USD 11.00\n  • food: USD 3.00"
        "\n  • Even: USD 0.00\n  • Zero: USD 0.00";
    const auto spending = [](const char* arguments) {
        return toolSpendingByCategory(json::parse(arguments)->root(), kNow);
    };
    for (const char* arguments :
         {"{}", R"({"days":30.9})", R"({"days":0})", R"({"days":-3})", R"({"days":0.5})",
          R"({"days":"7"})", R"({"days":1e19})", R"({"days":1e15})"}) {
        EXPECT_EQ(spending(arguments), month) << arguments;
    }
    EXPECT_EQ(spending(R"({"days":true})"),
              "Spending by category (last 1 days):\n  • Edge: USD 1.00");
    EXPECT_EQ(spending(R"({"days":3})"),
              "Spending by category (last 3 days):\n  • Food: USD 55.00\n  • Edge: USD 1.00");
}

TEST(Reports, BudgetsOfTheMonth) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(R"({"fxRates":{"EUR":1.1},"budgets":[
        {"category":"Food","subcategory":"Groceries","monthlyLimit":400},
        {"category":"Food","monthlyLimit":200},{"category":"Fun","monthlyLimit":50},
        {"category":"Tiny","monthlyLimit":50},{"category":"Split","monthlyLimit":40},{},
        {"category":"Food","subcategory":"Groceries","monthlyLimit":"400"},
        {"category":"None","subcategory":7,"monthlyLimit":-5}],
      "transactions":[
        {"type":"Expense","date":"2026-11-01","amount":100,"category":"Food","subcategory":"Groceries"},
        {"type":"Expense","date":"2026-12-01T04:59:59Z","amount":23.45,"currency":"USD",
         "category":"Food","subcategory":"Groceries"},
        {"type":"Expense","date":"2026-11-02","amount":10,"currency":"EUR","category":"Food"},
        {"type":"Expense","date":"2026-11-02","amount":-3,"category":"Food","subcategory":"Out"},
        {"type":"Expense","date":"2026-12-01","amount":1000,"category":"Food"},
        {"type":"Expense","date":"2026-11-01T03:59:59Z","amount":1000,"category":"Food"},
        {"type":"Expense","date":"","amount":1000,"category":"Food"},
        {"type":"Expense","date":"2026-11-02","amount":1000,"category":"food"},
        {"type":"Expense","date":"2026-11-02","amount":1000,"category":"Food "},
        {"type":"Income","date":"2026-11-02","amount":1000,"category":"Food"},
        {"type":"Expense","date":"2026-11-02","amount":62.10,"category":"Fun"},
        {"type":"Expense","date":"2026-11-02","amount":50.004,"category":"Tiny"},
        {"type":"Expense","date":"2026-11-02","amount":40,"category":"Split",
         "splits":[{"category":"Food","amount":40}]}]})");
    EXPECT_EQ(toolListBudgets(kNow),
              "Budgets this month:"
              "\n  • Food › Groceries: USD 123.45 / USD 400.00 (USD 276.55 left)"
              "\n  • Food: USD 131.45 / USD 200.00 (USD 68.55 left)"
              "\n  • Fun: USD 62.10 / USD 50.00 (USD 12.10 over)"
              "\n  • Tiny: USD 50.00 / USD 50.00 (USD 0.00 over)"
              "\n  • Split: USD 40.00 / USD 40.00 (USD 0.00 left)"
              "\n  • : USD 0.00 / USD 0.00 (USD 0.00 left)"
              "\n  • Food › Groceries: USD 123.45 / USD 0.00 (USD 123.45 over)"
              "\n  • None: USD 0.00 / USD -5.00 (USD 5.00 over)");
}

TEST(Reports, GoalsWithTheirProgress) {
    const test::DataFile data(R"({"settings":{"baseCurrency":"GBP"},"goals":[
        {"name":"Trip","currency":"EUR","target":1000,"saved":250},{"name":"Trip","target":100,"saved":29},
        {"target":100,"saved":57},{"target":3,"saved":2},{"target":1000,"saved":999.99},
        {"target":1,"saved":1e300,"saved":7},{"saved":5},{"target":-10,"saved":true},
        {"target":1000,"saved":-50},{"target":1000,"saved":-0.5},{"target":1,"saved":-1e18}]})");
    EXPECT_EQ(toolListGoals(),
              "Savings goals:"
              "\n  • Trip: EUR 250.00 / EUR 1000.00 (25%)\n  • Trip:  29.00 /  100.00 (28%)"
              "\n  • :  57.00 /  100.00 (56%)\n  • :  2.00 /  3.00 (66%)"
              "\n  • :  999.99 /  1000.00 (99%)\n  • :  7.00 /  1.00 (100%)"
              "\n  • :  5.00 /  0.00 (0%)\n  • :  1.00 /  -10.00 (0%)"
              "\n  • :  -50.00 /  1000.00 (-5%)\n  • :  -0.50 /  1000.00 (0%)"
              "\n  • :  -1000000000000000000.00 /  1.00 (-9223372036854775808%)");
}

}  // namespace
}  // namespace tovra
