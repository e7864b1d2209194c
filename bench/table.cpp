#include "bench/table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

namespace tovra::bench {
namespace {

constexpr std::size_t kWhatWidth = 52;
constexpr std::size_t kFigureWidth = 25;
constexpr std::size_t kAimWidth = 10;

std::string padded(std::string text, std::size_t width) {
    text.append(std::max(width, text.size() + 1) - text.size(), ' ');
    return text;
}

std::string aimText(const std::optional<Aim>& aim) {
    if (!aim) return {};
    std::string text = aim->kind == Aim::Kind::atMost ? "<= " : ">= ";
    return text += decimals(aim->value);
}

bool isMissed(const std::optional<Aim>& aim, double figure) {
    if (!aim) return false;
    return aim->kind == Aim::Kind::atMost ? figure > aim->value : figure < aim->value;
}

}  // namespace

void printHeading() {
    std::cout << padded("what", kWhatWidth) << padded("measured", kFigureWidth + 2)
              << padded("aim", kAimWidth) << "medians\n"
              << std::string(115, '-') << std::endl;
}

void printRow(const std::string& what, double figure, const std::string& unit,
              std::optional<Aim> aim, const std::string& detail) {
    std::string number = decimals(figure);
    number.insert(0, std::max<std::size_t>(number.size(), 8) - number.size(), ' ');
    std::cout << padded(what, kWhatWidth) << padded(number + ' ' + unit, kFigureWidth)
              << (isMissed(aim, figure) ? "! " : "  ") << padded(aimText(aim), kAimWidth) << detail
              << std::endl;
}

void printNote(const std::string& what, const std::string& detail) {
    std::cout << padded(what, kWhatWidth + kFigureWidth + kAimWidth + 2) << detail << std::endl;
}

std::string grouped(std::size_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, 1, ',');
    return digits;
}

std::string decimals(double value) {
    std::array<char, 352> text{};
    std::snprintf(text.data(), text.size(), "%.2f", value);
    return text.data();
}

std::string timeText(Seconds time) {
    const double milliseconds = time.count() * 1e3;
    return milliseconds < 1 ? decimals(milliseconds * 1e3) + " us" : decimals(milliseconds) + " ms";
}

std::string timeText(const Comparison& compared) {
    return timeText(compared.first) + " / " + timeText(compared.second);
}

}  // namespace tovra::bench
