#include <gtest/gtest.h>

#include <tuple>

#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using namespace std::string_literals;

constexpr Instant kNow = 1794841200;  // 2026-11-16T15:00:00Z, ten in the morning in New York
constexpr const char* kNewYork = "America/New_York";

TEST(Reports, AnswerWithoutData) {
    for (const char* text :
         {"", R"({"settings":[{"baseCurrency":"EUR"}],"accounts":{},"budgets":1,"goals":"x"})",
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
}

TEST(Reports, OverviewBudgetsAndSpending) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    // November in New York is from 2026-11-01T04:00:00Z to 2026-12-01T05:00:00Z, and 30 days ago it
    // was 2026-10-17T14:00:00Z.
    const test::DataFile data(test::fileBytes(TOVRA_TESTS "/tools/golden/ledger.json"));
    EXPECT_EQ(toolOverview(kNow),
              "Base currency: USD\nNet worth: USD 1947.00"
              "\nThis month — income: USD 3000.00, spending: USD 1290.50, net: USD 1709.50"
              "\nAccounts:\n  • Checking: USD 2490.00\n  • Visa: USD -378.00"
              "\n  • Overpaid: EUR 150.00\n  • Shown: XXX -0.00\n  • Aside: GBP 8.00");
    EXPECT_EQ(toolListBudgets(kNow),
              "Budgets this month:\n  • Food › Out: USD 62.50 / USD 400.00 (USD 337.50 left)"
              "\n  • Food: USD 1262.50 / USD 1262.50 (USD 0.00 left)"
              "\n  • Tiny: USD 50.00 / USD 50.00 (USD 0.00 over)"
              "\n  • : USD 0.00 / USD 0.00 (USD 0.00 left)");
    const auto spending = [](const std::string& days) {
        return toolSpendingByCategory(json::parse("{\"days\":" + days + "}")->root(), kNow);
    };
    for (const char* days : {"30.9", "0", "-3", "0.5", "\"7\"", "1e19", "1e15"}) {
        EXPECT_EQ(spending(days),
                  "Spending by category (last 30 days):\n  • Food: USD 1273.50\n  • Tiny: USD 50.00"
                  "\n  • : USD 22.00\n  • Fun: USD 7.00\n  • food: USD 3.00\n  • Even: USD 0.00"
                  "\n  • Zero: USD 0.00")
            << days;
    }
    EXPECT_EQ(spending("true"),
              "Spending by category (last 1 days):\n  • Food: USD 1273.50\n  • Tiny: USD 50.00"
              "\n  • : USD 22.00\n  • Fun: USD 7.00");
}

TEST(Reports, GoalsWithTheirProgress) {
    const test::DataFile data(R"({"goals":[{"name":"Trip","currency":"EUR","target":100,"saved":29},
        {"target":1000,"saved":999.99},{"target":1,"saved":1e300,"saved":7},{"saved":5},
        {"target":-10,"saved":true},{"target":100,"saved":-29},{"target":1,"saved":-1e18}]})");
    EXPECT_EQ(
        toolListGoals(),
        "Savings goals:\n  • Trip: EUR 29.00 / EUR 100.00 (28%)"
        "\n  • :  999.99 /  1000.00 (99%)\n  • :  7.00 /  1.00 (100%)"
        "\n  • :  5.00 /  0.00 (0%)\n  • :  1.00 /  -10.00 (0%)\n  • :  -29.00 /  100.00 (-28%)"
        "\n  • :  -1000000000000000000.00 /  1.00 (-9223372036854775808%)");
}

TEST(Reports, ListingFiltersSortsAndCuts) {
    const test::EnvironmentScope scope("TZ", kNewYork);
    const test::DataFile data(R"({"transactions":[
        {"date":"2026-11-16T03:30:00Z","type":"Expense","amount":4.5,"payee":"Cafe Roma"},
        {"date":"2026-11-15","type":"Income","amount":12,"currency":"USD","category":"Salary"},
        {"date":7,"type":"Expense","amount":-5,"currency":"USD","category":"Food"},
        {"date":"2026-11-15","type":"Transfer","amount":"7","payee":"Straße","category":"Food"},
        {"date":"2026-11-15T15:00:00Z","type":"expense","category":"É\u0000K"}]})");
    const std::string rows[] = {
        "\n2026-11-15  − 4.50  Cafe Roma []"s, "\n2026-11-15  + 0.00  É\0K [É\0K]"s,
        "\n2026-11-15  +USD 12.00  Salary [Salary]"s, "\n2026-11-15  + 0.00  Straße [Food]"s,
        "\n?  −USD -5.00  Food [Food]"s};
    // the rows shown, by their numbers, of how many that match
    const std::tuple<std::string, int, const char*> cases[] = {
        {"01234", 5, R"("limit":1e19,"days":1e15,"search":7,"type":"")"},
        {"01234", 5, R"("limit":9223372036854775807,"days":-1e300,"type":"All")"},
        {"01", 5, R"("limit":2.9,"days":2)"},
        {"04", 2, R"("limit":0.5,"type":"Expense")"},
        {"0", 1, R"("days":1,"type":"Expense","search":"R","limit":1)"},
        {"34", 2, R"("search":"fOOd")"},
        {"1", 1, R"("search":"é\u0000k")"},
        {"014", 3, R"("days":1.9)"},
        {"", 0, R"("search":"strasse")"}};
    for (const auto& [shown, matching, arguments] : cases) {
        std::string expected =
            "Showing " + std::to_string(shown.size()) + " of " + std::to_string(matching) + ":";
        if (matching == 0) expected = "No matching transactions.";
        for (const char number : shown) expected += rows[number - '0'];
        const auto parsed = json::parse("{" + std::string(arguments) + "}");
        EXPECT_EQ(toolListTransactions(parsed->root(), kNow), expected) << arguments;
    }
}

TEST(Reports, ListingShowsTwentyRowsInTheOrderOfTheFile) {
    std::string expected = "Showing 20 of 30:", many;
    for (int i = 0; i < 30; ++i) {
        many += (i > 0 ? ",{\"payee\":\"" : "{\"payee\":\"") + std::to_string(i) + "\"}";
        if (i < 20) expected += "\n?  + 0.00  " + std::to_string(i) + " []";
    }
    const test::DataFile data("{\"transactions\":[" + many + "]}");
    EXPECT_EQ(toolListTransactions({}, kNow), expected);
}

}  // namespace
}  // namespace tovra
