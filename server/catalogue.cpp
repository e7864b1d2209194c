#include "server/catalogue.h"

#include <algorithm>
#include <array>

#include "tools/tools.h"

namespace tovra {
namespace {

constexpr std::array<std::string_view, 2> writeTools = {"add_transaction", "add_to_goal"};

constexpr std::string_view kNoArguments =
    R"({"type":"object","properties":{},"additionalProperties":false})";

constexpr std::array<ToolDefinition, 7> kTools = {{
    {"get_overview", "Net worth, account balances, and this month's income/spending/net.",
     kNoArguments, [](json::Value) {
    return toolOverview(); }},

    {"list_transactions", "Recent transactions, newest first. Optional filters.",
     R"({"type":"object","properties":{)"
     R"("limit":{"type":"number","description":"max rows (default 20)"},)"
     R"("type":{"type":"string","enum":["All","Expense","Income","Transfer"]},)"
     R"("search":{"type":"string","description":"match payee or category"},)"
     R"("days":{"type":"number","description":"only the last N days"}},)"
     R"("additionalProperties":false})",
     [](json::Value arguments) {
    return toolListTransactions(arguments); }},

    {"spending_by_category", "Total expense per category over the last N days (default 30).",
     R"({"type":"object","properties":{"days":{"type":"number"}},"additionalProperties":false})",
     [](json::Value arguments) {
    return toolSpendingByCategory(arguments); }},

    {"list_budgets", "This month's budgets with amount spent and remaining.", kNoArguments,
     [](json::Value) {
    return toolListBudgets(); }},

    {"list_goals", "Savings goals with progress.", kNoArguments,
     [](json::Value) {
    return toolListGoals(); }},

    {"add_transaction", "Log a new transaction into Tovra.",
     R"({"type":"object","properties":{)"
     R"("amount":{"type":"number","description":"positive amount"},)"
     R"("payee":{"type":"string","description":"merchant (expense) or source (income)"},)"
     R"("category":{"type":"string"},)"
     R"("type":{"type":"string","enum":["Expense","Income"]},)"
     R"("currency":{"type":"string","description":"ISO code; defaults to base currency"},)"
     R"("date":{"type":"string","description":"yyyy-MM-dd; defaults to today"},)"
     R"("note":{"type":"string"},)"
     R"("account":{"type":"string","description":"wallet name to attach to (optional)"}
},)"
     R"("required":["amount"],"additionalProperties":false})",
     nullptr
}
,

    {"add_to_goal", "Add money to a savings goal by name.",
     R"({"type":"object","properties":{"goal":{"type":"string"},"amount":{"type":"number"}},)"
     R"("required":["goal","amount"],"additionalProperties":false})",
     nullptr},
}
}
;

}  // namespace

std::span<const ToolDefinition> tools() {
    return kTools;
}

bool isWriteTool(std::string_view name) {
    return std::find(writeTools.begin(), writeTools.end(), name) != writeTools.end();
}

}  // namespace tovra
