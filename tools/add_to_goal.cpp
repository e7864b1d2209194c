#include <cmath>

#include "json/write.h"
#include "store/fields.h"
#include "store/money.h"
#include "store/recording.h"
#include "tools/tools.h"

namespace tovra {
std::string toolAddToGoal(json::Value arguments) {
    const std::string name(stringField(arguments, "goal"));
    const double amount = numberField(arguments, "amount");
    if (!(amount > 0)) return "Error: amount must be greater than zero.";

    return changeDataFile([&](const DataSnapshot& snapshot) -> Change {
        const json::Value goal = namedObject(snapshot.root(), "goals", name);
        if (!goal.exists()) {
            return {{}, "Error: no goal named \"" + name + "\". Use list_goals to see goals."};
        }
        const double total = numberField(goal, "saved") + amount;
        if (!std::isfinite(total)) snapshot.refuse("The new total is too large to be recorded");

        const std::string_view currency = stringField(goal, "currency");
        std::string text = "Added " + moneyText(currency, amount) + " to \"";
        text += stringField(goal, "name");
        text += "\". New total: " + moneyText(currency, total) + ".";
        return {json::Edit{goal, "saved", json::numberText(total)}, std::move(text)};
    });
}

}  // namespace tovra
