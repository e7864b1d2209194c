#include "store/money.h"

#include <array>
#include <charconv>

namespace tovra {

std::string moneyText(double amount) {
    // The largest double has 309 digits before its point.
    std::array<char, 320> text{};
    const auto end =
        std::to_chars(text.begin(), text.end(), amount, std::chars_format::fixed, 2).ptr;
    return {text.begin(), end};
}

std::string moneyText(std::string_view currency, double amount) {
    std::string text(currency);
    text += ' ';
    text += moneyText(amount);
    return text;
}

}  // namespace tovra
