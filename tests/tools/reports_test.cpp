#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using namespace std::string_literals;

constexpr Instant kNow = 1794841200;  // 2026-11-16T15:00:00Z, ten in the morning in New York
constexpr const char* kNewYork = "America/New_York";

// November in New York is from 2026-11-01T04:00:00Z to 2026-12-01T05:00:00Z, and 30 days ago it was
// 2026-10-17T14:00:00Z. Transactions of the account "x" move no balance.
constexpr const char* kLedger = R"({"fxRates":{"EUR":1.1,"GBP":1.25,"XXX":"bad"},"accounts":[
    {"id":"c","name":"Checking","currency":"USD","openingBalance":700},
    {"id":"v","name":"Visa","type":"Credit Card","currency":"USD","openingBalance":-400},
    {"id":"h","name":"Home","type":"Loan","currency":"EUR","openingBalance":-10000},
    {"id":"o","name":"Overpaid","type":"Credit Card","currency":"USD","openingBalance":150},
    {"name":"Hidden","archived":true,"openingBalance":5000},
    {"id":"s","name":"Shown","archived":"true","currency":"XXX","openingBalance":-0.0},
    {"id":"a","name":"Aside","includeInNetWorth":false,"currency":"GBP"},
    {"name":"Cash","openingBalance":12},
    {"id":"l","name":"Lent","type":"loan","includeInNetWorth":0,"openingBalance":true}],
  "budgets":[{"category":"Food","subcategory":"Out","monthlyLimit":400},
    {"category":"Food","monthlyLimit":1262.5},{"category":"Fun","monthlyLimit":50},
    {"category":"Tiny","monthlyLimit":50},{},{"category":"Food","subcategory":"Out"},
    {"category":"None","subcategory":7,"monthlyLimit":-5}],
  "transactions":[
    {"type":"Income","amount":3000,"currency":"USD","accountID":"c","date":"2026-11-01"},
    {"type":"Expense","amount":1200,"currency":"USD","accountID":"c","date":"2026-12-01T04:59:59Z",
     "category":"Food"},
    {"type":"Expense","amount":50,"currency":"GBP","accountID":"x","date":"2026-11-30",
     "category":"Food","subcategory":"Out"},
    {"type":"Expense","amount":7,"date":"2026-12-01","category":"Fun"},
    {"type":"Income","amount":5,"accountID":"x","date":"2026-11-01T03:59:59Z","category":"Food"},
    {"type":"Expense","amount":9000,"accountID":"x","date":"n/a","category":"Food"},
    {"type":"Transfer","amount":10,"currency":"USD","accountID":"c","transferAccountID":"a",
     "date":"2026-11-10","category":"Food"},
    {"type":"Income","amount":"5","accountID":"v","date":"2026-11-05"},
    {"type":"expense","amount":9000,"accountID":"v","date":"2026-11-05","category":"Food"},
    {"type":"Expense","amount":-20,"currency":"EUR","accountID":"v","date":"2026-11-16T15:00:00Z",
     "category":"Split","splits":[{"category":"Food","amount":10},{"amount":20}]},
    {"type":"Expense","amount":50.004,"accountID":"x","date":"2026-11-16","category":"Tiny",
     "splits":[{"category":"Food","amount":1},7]},
    {"type":"Expense","amount":62.1,"accountID":"x","date":"2026-11-15","category":"Fun"},
    {"type":"Expense","amount":99,"accountID":"x","currency":"XXX","date":"2026-11-15",
     "category":"Zero","splits":[]},
    {"type":"Expense","amount":-0.0,"accountID":"x","date":"2026-11-15","category":"Even"},
    {"type":"Expense","amount":3,"accountID":"x","date":"2026-10-17T14:00:00Z","category":"food"},
    {"type":"Expense","amount":9000,"accountID":"x","date":"2026-10-17T13:59:59Z","category":"food"}
  ]})";

TEST(Reports, AnswerWithoutData) {
    for (const char* text :
         {"", "{", "[]", "{}", R"([{"budgets":[{}]}])",
          R"({"settings":[{"baseCurrency":"EUR"}],"accounts":{},"budgets":1,"goals":"x"})",
          R"({"accounts":[{},1],"budgets":[{},""],"goals":[null],"transactions":[{},[]]})"}) {
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

TEST(Reports, OverviewOfTheMonthAndTheAccounts) {
    const test::DataFile data(kLedger);
    const std::pair<const char*, std::string> months[] = {
        {kNewYork, "income: USD 3000.00, spending: USD 1352.60, net: USD 1647.40"},
        {"Pacific/Auckland", "income: USD 3005.00, spending: USD 152.60, net: USD 2852.40"}};
    for (const auto& [zone, month] : months) {
        const test::EnvironmentScope scope("TZ", zone);
        EXPECT_EQ(toolOverview(kNow),
                  "Base currency: USD\nNet worth: USD -9032.00\nThis month — " + month +
                      "\nAccounts:\n  • Checking: USD 2490.00\n  • Visa: USD -378.00"
                      "\n  • Home: EUR -10000.00\n  • Overpaid: USD 150.00\n  • Shown: XXX -0.00"
                      "\n  • Aside: GBP 8.00\n  • Cash:  5.00\n  • Lent:  1.00")
            << zone;
    }
}

TEST(Reports, SpendingFollowsSplitsAndRates) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(kLedger);
    const auto spending = [](const std::string& days) {
        return toolSpendingByCategory(json::parse("{\"days\":" + days + "}")->root(), kNow);
    };
    const std::string lines =
        "\n  • Food: USD 1273.50\n  • Fun: USD 69.10\n  • Tiny: USD 50.00\n  • : USD 22.00";
    for (const char* days : {"30", "30.9", "0", "-3", "0.5", "\"7\"", "null", "1e19", "1e15"}) {
        EXPECT_EQ(spending(days),
                  "Spending by category (last 30 days):" + lines +
                      "\n  • food: USD 3.00\n  • Even: USD 0.00\n  • Zero: USD 0.00")
            << days;
    }
    EXPECT_EQ(spending("true"),
              "Spending by category (last 1 days):\n  • Food: USD 1273.50"
              "\n  • Tiny: USD 50.00\n  • : USD 22.00\n  • Fun: USD 7.00");
}

TEST(Reports, BudgetsOfTheMonth) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(kLedger);
    EXPECT_EQ(toolListBudgets(kNow),
              "Budgets this month:"
              "\n  • Food › Out: USD 62.50 / USD 400.00 (USD 337.50 left)"
              "\n  • Food: USD 1262.50 / USD 1262.50 (USD 0.00 left)"
              "\n  • Fun: USD 62.10 / USD 50.00 (USD 12.10 over)"
              "\n  • Tiny: USD 50.00 / USD 50.00 (USD 0.00 over)"
              "\n  • : USD 0.00 / USD 0.00 (USD 0.00 left)"
              "\n  • Food › Out: USD 62.50 / USD 0.00 (USD 62.50 over)"
              "\n  • None: USD 0.00 / USD -5.00 (USD 5.00 over)");
}

TEST(Reports, GoalsWithTheirProgress) {
    const test::DataFile data(R"({"settings":{"baseCurrency":"GBP"},"goals":[
        {"name":"Trip","currency":"EUR","target":1000,"saved":250},
        {"name":"Trip","target":100,"saved":29},{"target":100,"saved":57},{"target":3,"saved":2},
        {"target":1000,"saved":999.99},{"target":1,"saved":1e300,"saved":7},{"saved":5},
        {"target":-10,"saved":true},{"target":100,"saved":-29},{"target":1000,"saved":-0.5},
        {"target":1,"saved":-1e18}]})");
    EXPECT_EQ(toolListGoals(),
              "Savings goals:"
              "\n  • Trip: EUR 250.00 / EUR 1000.00 (25%)\n  • Trip:  29.00 /  100.00 (28%)"
              "\n  • :  57.00 /  100.00 (56%)\n  • :  2.00 /  3.00 (66%)"
              "\n  • :  999.99 /  1000.00 (99%)\n  • :  7.00 /  1.00 (100%)"
              "\n  • :  5.00 /  0.00 (0%)\n  • :  1.00 /  -10.00 (0%)"
              "\n  • :  -29.00 /  100.00 (-28%)\n  • :  -0.50 /  1000.00 (0%)"
              "\n  • :  -1000000000000000000.00 /  1.00 (-9223372036854775808%)");
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
    const std::string rows[] = {"\n2999-01-01  + 1.00   []"s,
                                "\n2026-11-15  −EUR 4.50  Cafe Roma [Food]"s,
                                "\n2026-11-15  −usd 2.67  Edge [É\0K]"s,
                                "\n2026-11-15  +USD 12.00  Acme [Salary]"s,
                                "\n2026-11-15  +USD 0.00  Straße []"s,
                                "\n?  −USD -5.00  Food [Food]"s,
                                "\n?  + -0.00  Market [Food]"s};
    struct Case {
        std::string shown;  // the rows by their numbers
        std::size_t matching;
        std::vector<const char*> arguments;
    };
    const Case cases[] = {
        {"0123456",
         7,
         {R"("limit":0)", R"("limit":-1)", R"("limit":0.5)", R"("limit":"1")", R"("limit":1e19)",
          R"("limit":9223372036854775807)", R"("limit":100)", R"("type":"")", R"("type":"All")",
          R"("type":["Expense"])", R"("search":7)", R"("days":0)", R"("days":"1")",
          R"("days":-1e300)", R"("days":1e15)", R"("days":2)"}},
        {"01", 7, {R"("limit":2.9)"}},
        {"0", 7, {R"("limit":true)"}},
        {"125", 3, {R"("type":"Expense")"}},
        {"6", 1, {R"("type":"expense")"}},
        {"1", 1, {R"("search":"CAFE")"}},
        {"156", 3, {R"("search":"fOOd")"}},
        {"4", 1, {R"("search":"STRAßE")"}},
        {"2", 1, {R"("search":"é\u0000k")"}},
        {"01256", 5, {R"("days":1)", R"("days":1.9)", R"("days":true)"}},
        {"1", 2, {R"("days":1,"type":"Expense","search":"e","limit":1)"}},
        {"", 0, {R"("type":"all")", R"("search":" cafe")", R"("search":"strasse")"}}};
    for (const auto& [shown, matching, arguments] : cases) {
        std::string expected =
            "Showing " + std::to_string(shown.size()) + " of " + std::to_string(matching) + ":";
        if (matching == 0) expected = "No matching transactions.";
        for (const char number : shown) expected += rows[number - '0'];
        for (const std::string text : arguments) {
            const auto parsed = json::parse("{" + text + "}");
            EXPECT_EQ(toolListTransactions(parsed->root(), kNow), expected) << text;
        }
    }
}

TEST(Reports, ListingShowsTwentyRowsByDefault) {
    std::string many = "{}";
    for (int i = 1; i < 25; ++i) many += ",{}";
    const test::DataFile data("{\"transactions\":[" + many + "]}");
    const std::string text = toolListTransactions({}, kNow);
    EXPECT_TRUE(text.starts_with("Showing 20 of 25:\n?  + 0.00   []\n?")) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 20);
}

}  // namespace
}  // namespace tovra
