// The calls that are measured.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace tovra::bench {

struct Call {
    const char* name;
    std::string_view tool;
    std::string_view arguments = "{}";
};

inline constexpr std::array kReports = {
    Call{"get_overview", "get_overview"},
    Call{"list_transactions", "list_transactions"},
    Call{"list_transactions with a search", "list_transactions", R"({"search":"müller"})"},
    Call{"spending_by_category", "spending_by_category"},
    Call{"list_budgets", "list_budgets"},
    Call{"list_goals", "list_goals"},
};

inline constexpr std::array kRecordings = {
    Call{"add_transaction", "add_transaction",
         R"({"amount":4.8,"payee":"Café Müller","category":"Dining","account":"wallet"})"},
    Call{"add_to_goal", "add_to_goal", R"({"goal":"new bicycle","amount":0.01})"},
};

}  // namespace tovra::bench
