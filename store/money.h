// The text of amounts of money.
#pragma once

#include <string>
#include <string_view>

namespace tovra {

// The amount with two decimals, as "%.2f" prints it in the C locale. The exact value of the double
// is rounded to the nearest; a negative amount that rounds to zero gives "-0.00". Pure.
[[nodiscard]] std::string moneyText(double amount);

// The currency code, one space and the money text; an empty code leaves the space. Pure.
[[nodiscard]] std::string moneyText(std::string_view currency, double amount);

}  // namespace tovra
