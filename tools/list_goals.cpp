#include <algorithm>
#include <cstdint>
#include <limits>

#include "store/data_file.h"
#include "store/fields.h"
#include "store/money.h"
#include "tools/tools.h"

namespace tovra {
namespace {

// The progress in whole percent, truncated toward zero, at most 100; 0 without a target above 0.
std::int64_t percent(double saved, double target) {
    if (!(target > 0)) return 0;
    const double percent = std::min(saved / target, 1.0) * 100;
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    return truncated(percent).value_or(percent < 0 ? kLeast : 0);
}

}  // namespace

std::string toolListGoals() {
    const json::Document document = loadData();
    const json::Children goals = objectArrayField(document.root(), "goals");
    if (goals.empty()) return "No savings goals.";

    std::string text = "Savings goals:";
    for (const json::Value goal : goals) {
        const std::string_view currency = stringField(goal, "currency");
        const double saved = numberField(goal, "saved");
        const double target = numberField(goal, "target");
        text += "\n  • ";
        text += stringField(goal, "name");
        text += ": " + moneyText(currency, saved) + " / " + moneyText(currency, target) + " (" +
                std::to_string(percent(saved, target)) + "%)";
    }
    return text;
}

}  // namespace tovra
