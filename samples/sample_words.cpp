#include "samples/sample_words.h"

namespace tovra::support {
namespace {

constexpr Party kExpenses[] = {
    {"Harbour Lane Apartments", "Home", "Rent", 145000, 145000, 0, 1},
    {"City Power & Water", "Home", "Utilities", 6200, 14800, 0, 4},
    {"Northwind Fibre", "Home", "Internet", 4999, 4999, 0, 6},
    {"Evergreen Insurance", "Insurance", "Health", 21450, 21450, 0, 3},
    {"Ledger Street Gym", "Health", "Fitness", 3900, 3900, 0, 2},
    {"Corner Market", "Groceries", "Supermarket", 600, 7400, 26},
    {"Greenfield Organic", "Groceries", "Supermarket", 500, 5200, 14},
    {"Saturday Farmers' Market", "Groceries", "Market", 600, 4200, 7},
    {"Bäckerei Öztürk", "Groceries", "Bakery", 280, 1650, 10},
    {"Café Müller", "Dining", "Coffee", 320, 1180, 18},
    {"The \"Old Mill\" Tavern", "Dining", "Restaurants", 2100, 9600, 8},
    {"Ramen 一番", "Dining", "Restaurants", 1450, 5200, 6},
    {"Pizza Pronto", "Dining", "Takeaway", 1100, 4300, 7},
    {"Metro Transit", "Transport", "Public Transport", 275, 2400, 14},
    {"Fuel & Go 24/7", "Transport", "Fuel", 2800, 6900, 5},
    {"Quick Cab", "Transport", "Taxi", 900, 5400, 4},
    {"Central Parking", "Transport", "Parking", 300, 2400, 4},
    {"Brightside Pharmacy", "Health", "Pharmacy", 450, 6800, 4},
    {"Dr. Ngọc Trần", "Health", "Doctor", 4000, 12000, 1},
    {"Paper Lantern Books", "Leisure", "Books", 799, 5600, 5},
    {"Odeon on the Quay", "Leisure", "Cinema", 950, 4200, 3},
    {"Vinyl Attic", "Leisure", "Music", 1299, 6900, 2},
    {"Kite & Kettle", "Shopping", "Gifts", 1500, 9900, 3},
    {"Thread Count", "Shopping", "Clothing", 1900, 9900, 3},
    {"Volt Electronics", "Shopping", "Electronics", 1999, 38900, 1},
    {"Tiny Steps Toys", "Children", "Toys", 899, 6400, 2},
    {"Riverside School", "Children", "School", 2500, 24000, 1},
    {"Estrela Air", "Travel", "Flights", 8900, 34000, 1},
    {"Pensão do Sol", "Travel", "Hotels", 6400, 24000, 1},
    {"", "Cash", "", 1000, 20000, 2},
};

constexpr Party kIncomes[] = {
    {"Meridian Software Ltd.", "Salary", "", 642000, 642000, 0, 1},
    {"Everyday Bank", "Interest", "", 120, 3890, 3},
    {"Studio Lumière", "Freelance", "", 18000, 140000, 2},
    {"Thread Count", "Refunds", "", 1900, 9900, 2},
};

constexpr AccountWords kAccounts[] = {
    {"Everyday Checking", "Checking", "USD", 3250.75},
    {"Visa Platinum", "Credit Card", "USD", -412.3},
    {"Wallet", "Cash", "USD", 120},
    {"Conta à Ordem", "Checking", "EUR", 1840.5},
    {"Emergency Savings", "Savings", "USD", 12500},
    {"Car Loan", "Loan", "USD", -14300},
    {"Säule 3a", "Retirement", "CHF", 28400, false, false},
    {"Student Account", "Checking", "GBP", 87.65, true},
};

constexpr BudgetWords kBudgets[] = {
    {"Groceries", "", 650},        {"Dining", "", 320},       {"Dining", "Coffee", 60},
    {"Transport", "", 280},        {"Transport", "Taxi", 40}, {"Home", "Utilities", 150},
    {"Health", "", 200},           {"Leisure", "", 120},      {"Leisure", "Books", 45},
    {"Shopping", "Clothing", 150}, {"Children", "", 180},     {"Travel", "", 400},
};

constexpr GoalWords kGoals[] = {
    {"Emergency Fund", "USD", 15000, 9250.5},
    {"Trip to Lisbon", "EUR", 2400, 1310},
    {"Piano for Zoë 🎹", "USD", 3800, 3800},
    {"New Bicycle", "USD", 950, 85},
};

constexpr std::string_view kNotes[] = {
    "",
    "",
    "",
    "",
    "split with Sam",
    "weekly shop",
    "renews by itself",
    "receipts/2026/scan",
    "for Mum's birthday 🎂",
    "business lunch,\nclaim it back",
    "see the \"House\" sheet",
};

constexpr std::string_view kTags[] = {"family", "reimbursable", "weekly", "holiday", "tax 2026"};

}  // namespace

std::span<const Party> expenseParties() { return kExpenses; }
std::span<const Party> incomeParties() { return kIncomes; }
std::span<const AccountWords> accountWords() { return kAccounts; }
std::span<const BudgetWords> budgetWords() { return kBudgets; }
std::span<const GoalWords> goalWords() { return kGoals; }
std::span<const std::string_view> notes() { return kNotes; }
std::span<const std::string_view> tags() { return kTags; }

}  // namespace tovra::support
