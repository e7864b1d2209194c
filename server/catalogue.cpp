#include "server/catalogue.h"

#include <array>

#include "tools/tools.h"

namespace tovra {
namespace {

constexpr std::string_view kNoArguments =
    R"json({"type":"object","properties":{},"additionalProperties":false})json";

constexpr std::array<ToolDefinition, 7> kTools = {{
    {"get_overview", "Net worth, account balances, and this month's income/spending/net.",
     kNoArguments, Access::reads, [](json::Value) { return toolOverview(); }},

    {"list_transactions", "Recent transactions, newest first. Optional filters.",
     R"json({"type":"object","properties":{)json"
     R"json("limit":{"type":"number","description":"max rows (default 20)"},)json"
     R"json("type":{"type":"string","enum":["All","Expense","Income","Transfer"]},)json"
     R"json("search":{"type":"string","description":"match payee or category"},)json"
     R"json("days":{"type":"number","description":"only the last N days"}},)json"
     R"json("additionalProperties":false})json",
     Access::reads, [](json::Value arguments) { return toolListTransactions(arguments); }},

    {"spending_by_category", "Total expense per category over the last N days (default 30).",
     R"json({"type":"object","properties":{"days":{"type":"number"}},"additionalProperties":false})json",
     Access::reads, [](json::Value arguments) { return toolSpendingByCategory(arguments); }},

    {"list_budgets", "This month's budgets with amount spent and remaining.", kNoArguments,
     Access::reads, [](json::Value) { return toolListBudgets(); }},

    {"list_goals", "Savings goals with progress.", kNoArguments, Access::reads,
     [](json::Value) { return toolListGoals(); }},

    {"add_transaction", "Log a new transaction into Tovra.",
     R"json({"type":"object","properties":{)json"
     R"json("amount":{"type":"number","description":"positive amount"},)json"
     R"json("payee":{"type":"string","description":"merchant (expense) or source (income)"},)json"
     R"json("category":{"type":"string"},)json"
     R"json("type":{"type":"string","enum":["Expense","Income"]},)json"
     R"json("currency":{"type":"string","description":"ISO code; defaults to base currency"},)json"
     R"json("date":{"type":"string","description":"yyyy-MM-dd; defaults to today"},)json"
     R"json("note":{"type":"string"},)json"
     R"json("account":{"type":"string","description":"wallet name to attach to (optional)"}},)json"
     R"json("required":["amount"],"additionalProperties":false})json",
     Access::writes, [](json::Value arguments) { return toolAddTransaction(arguments); }},

    {"add_to_goal", "Add money to a savings goal by name.",
     R"json({"type":"object","properties":{"goal":{"type":"string"},"amount":{"type":"number"}},)json"
     R"json("required":["goal","amount"],"additionalProperties":false})json",
     Access::writes, [](json::Value arguments) { return toolAddToGoal(arguments); }},
}};

}  // namespace

Catalogue catalogue() { return {"tovra", kTools}; }

}  // namespace tovra
