// The sentences about what is in the document.
#include <algorithm>

#include "check/findings.h"
#include "json/utf8.h"
#include "json/write.h"

namespace tovra::check {
namespace {

constexpr std::size_t kLongest = 80;  // of a text that is shown

// "1 transaction", "12 transactions".
std::string number(std::size_t count, std::string_view list) {
    std::string noun(list);
    if (count == 1) noun.pop_back();
    return std::to_string(count) + " " + noun;
}

// At most so many bytes, no letter cut in two.
std::string shortened(std::string_view text) {
    if (text.size() <= kLongest) return std::string(text);
    std::size_t size = kLongest;
    while (size > kLongest - 4 && !json::isValidUtf8(text.substr(0, size))) --size;
    return std::string(text.substr(0, size)) + "...";
}

// no. 3 ("Cafe", 2026-11-16): "5"
std::string shown(const Example& example) {
    std::string text = "no. " + std::to_string(example.number);
    std::string about = example.label.empty() ? "" : inQuotes(example.label);
    if (!example.day.empty()) about += (about.empty() ? "" : ", ") + shortened(example.day);
    if (!about.empty()) text += " (" + about + ")";
    if (!example.value) return text;
    if (!example.value->exists()) return text + ": missing";
    // Not all that is in it was kept.
    if (example.value->is(json::Kind::object)) return text + ": an object, { ... }";
    if (example.value->is(json::Kind::array)) return text + ": a list, [ ... ]";
    std::string value;
    json::appendCompact(value, *example.value);
    return text + ": " + shortened(value);
}

std::string_view negativeEffect(const Field& field) {
    if (field.list == "budgets") return "Every month is over it.";
    if (field.list == "goals") return field.effect;
    return "The sign is kept: an expense below 0 lowers what is spent, an income below 0 what came "
           "in. Amounts are positive, and the type says where they go.";
}

class ContentFindings {
  public:
    std::vector<Finding> found;

    void addMembers(const Content& content) {
        bool hasAny = false;
        for (const List& list : content.lists) {
            hasAny = hasAny || list.value.exists();
            addList(list);
        }
        const auto isEmpty = [](const List& list) {
            return !list.value.exists() ||
                   (list.value.is(json::Kind::array) && list.value.children().empty());
        };
        if (hasAny && std::all_of(content.lists.begin(), content.lists.end(), isEmpty)) {
            note("empty", "There are no records in the file.");
        } else if (content.lists[1].count > 0 && content.thisMonth == 0) {
            note("no-month", "No transaction is of this month, so its totals and budgets show 0.");
        }
        if (!hasAny) {
            warn("no-records",
                 "The file has neither accounts nor transactions, budgets or goals. Is it the "
                 "finance application's?");
        }
        if (!content.repeatedMembers.empty()) {
            warn("repeated-member", "The file has more than one " +
                                        inQuotes(content.repeatedMembers) +
                                        "; only the last one counts.");
        }
        for (const auto& [seen, read] : content.otherCase) {
            warn("other-case", "There is " + inQuotes(seen) + " where " + inQuotes(read) +
                                   " is read. Letter case counts, so it is not seen.");
        }
    }

    void addCurrencies(const Content& content) {
        const auto isUnusable = [&](std::string_view name) {
            return std::count(content.notObjects.begin(), content.notObjects.end(), name) > 0;
        };
        const std::string base = inQuotes(content.baseCurrency);
        if (isUnusable("settings") || content.wrongBaseCurrency.exists()) {
            warn("no-base-currency",
                 (isUnusable("settings") ? "\"settings\" is no object, { ... }"
                                         : "\"baseCurrency\" in the settings is no text") +
                     std::string(": totals are in ") + base + ".");
        } else if (content.baseCurrency.empty()) {
            warn("no-base-currency", "The base currency is the empty text.");
        }
        if (isUnusable("fxRates")) {
            warn("no-rates",
                 "\"fxRates\" is no object, { ... }, so there are no rates: amounts of all "
                 "currencies count one to one, as if they were in " +
                     base + ".");
        } else {
            addRates(content);
        }
    }

    void addAccounts(const Content& content) {
        tell(Level::warning, content.sharedIDs, "shared-id", "Several accounts have the id ",
             ": the same transactions count for each of them.");
        for (const auto& [type, liability] : content.accountTypes) {
            warn("account-type", "An account has the type " + inQuotes(type) + " where " +
                                     inQuotes(liability) +
                                     " is read: it counts as an asset, and not as a debt.");
        }
        const std::size_t accounts = content.lists[0].count;
        if (accounts > 0 && content.archivedAccounts == accounts) {
            note("all-archived", "All accounts are archived: the net worth is 0.");
        }
        tell(Level::warning, content.repeatedAccountNames, "repeated-account",
             "Several accounts are called ", ": what is recorded by that name goes to the first.");
        tell(Level::warning, content.repeatedGoalNames, "repeated-goal",
             "Several goals are called ", ": money added by that name goes to the first.");
        tell(Level::warning, content.repeatedBudgets, "repeated-budget", "Several budgets limit ",
             ": each of them shows the same spending.");
        for (const auto& [budget, other] : content.budgetsInOtherCase) {
            warn("budget-case", "Expenses have " + inQuotes(other) + ", and a budget limits " +
                                    inQuotes(budget) +
                                    ": nothing counts towards it until both are written alike, "
                                    "blanks and letter case included.");
        }
        tell(Level::warning, content.budgetsOfSplits, "budget-splits", "A budget limits ",
             ", which only parts of split expenses have: budgets count an expense as a whole, "
             "under its own category.");
        tell(Level::note, content.unusedBudgets, "budget-unused",
             "No expense ever had what a budget limits: ", ". Is it written as in the expenses?");
    }

    void addRecords(const Content& content) {
        for (std::size_t rule = 0; rule < kRules.size(); ++rule) {
            const RuleText& text = kRules[rule];
            const Tally& tally = content.tallies.rules[rule];
            // What most have is not meant.
            const bool isMost = tally.count * 2 > content.lists[1].count;
            tell(isMost ? Level::warning : text.level, tally, "transactions", text.about, text.what,
                 text.effect);
        }
        for (std::size_t i = 0; i < kFields.size(); ++i) {
            addField(kFields[i], content.tallies.fields[i], content.lists[1].count);
        }
    }

  private:
    void addList(const List& list) {
        const std::string refused =
            list.name == "transactions" ? " Recordings of transactions are refused." : "";
        if (list.firstStray) {
            warn("stray-element", "Element " + std::to_string(*list.firstStray + 1) + " of " +
                                      inQuotes(list.name) +
                                      " is no object, so the whole list reads as empty." + refused);
        } else if (list.value.exists() && !list.value.is(json::Kind::array)) {
            warn("no-list",
                 inQuotes(list.name) + " is no list and reads as an empty one." + refused);
        }
    }

    void addRates(const Content& content) {
        Texts none;
        for (const auto& [currency, close] : content.withoutRate) {
            none.push_back(currency);
            if (close.empty()) continue;
            warn("rate-case", "The currency " + inQuotes(currency) + " has no rate, but " +
                                  inQuotes(close) + " has: codes are compared letter by letter.");
        }
        tell(Level::warning, none, "no-rate", "No exchange rate for ",
             ": amounts count one to one, as if they were in " + inQuotes(content.baseCurrency) +
                 ".");
        if (content.hasRateOfBase) {
            note("base-rate", "There is a rate for the base currency, " +
                                  inQuotes(content.baseCurrency) + ": it is taken as 1.");
        }
        tell(Level::warning, content.wrongRates, "wrong-rate", "The exchange rate of ",
             " is no number above 0, or too large a one: amounts count as 0, unconverted or as "
             "inf.");
    }

    // `count` is that of all transactions.
    void addField(const Field& field, const std::array<Tally, kWrongs>& tallies,
                  std::size_t count) {
        constexpr std::array<std::string_view, 4> kWanted = {
            "is no text", "is neither true nor false", "is no number", "is no number"};
        const bool isNumber = field.wants == Wants::number || field.wants == Wants::positiveNumber;
        const bool isSplit = field.list == "splits";
        const std::string whose =
            (isSplit ? "With a split whose " : "Whose ") + inQuotes(field.member) + " ";
        const std::string list(isSplit ? "transactions" : field.list);
        const std::string wanted(kWanted[static_cast<std::size_t>(field.wants)]);
        const std::string bare = isNumber ? " Numbers are written as 1000.50, without quotes." : "";
        tell(Level::warning, tallies[0], list,
             field.member == "amount" && !isSplit ? "no-amount" : "wrong-type", whose + wanted,
             std::string(field.effect) + bare);
        tell(Level::warning, tallies[1], list, "too-large",
             whose + "is larger than any number here can be",
             "Totals with it come out as inf or nan.");
        // A few are repayments; where most are, the program that wrote them means something else.
        const bool areFew = field.list == "transactions" && tallies[2].count * 2 < count;
        tell(areFew ? Level::note : Level::warning, tallies[2], list, "negative",
             whose + "is below 0", negativeEffect(field));
    }

    void tell(Level level, const Tally& tally, std::string_view list, std::string_view about,
              std::string_view what, std::string_view effect) {
        if (tally.count == 0) return;
        std::string text = std::string(what) + ": " + number(tally.count, list);
        for (std::size_t i = 0; i < tally.first.size(); ++i) {
            text += i > 0 ? "; " : tally.count > tally.first.size() ? ", such as " : ", ";
            text += shown(tally.first[i]);
        }
        found.push_back({level, about, text + ". " + std::string(effect)});
    }

    void tell(Level level, const Texts& texts, std::string_view about, std::string_view what,
              std::string_view effect) {
        if (texts.empty()) return;
        found.push_back({level, about, std::string(what) + inQuotes(texts) + std::string(effect)});
    }

    void note(std::string_view about, std::string text) {
        found.push_back({Level::note, about, std::move(text)});
    }
    void warn(std::string_view about, std::string text) {
        found.push_back({Level::warning, about, std::move(text)});
    }
};

}  // namespace

std::string inQuotes(std::string_view text) {
    std::string quoted = shortened(text);
    if (!json::isValidUtf8(quoted)) {
        for (char& c : quoted) c = (c & 0x80) != 0 ? '?' : c;
    }
    return "\"" + quoted + "\"";
}

std::string inQuotes(const Texts& texts) {
    constexpr std::size_t kShown = 5;
    std::string list;
    for (std::size_t i = 0; i < std::min(texts.size(), kShown); ++i) {
        list += (i == 0 ? "" : ", ") + inQuotes(texts[i]);
    }
    if (texts.size() > kShown) list += " and " + std::to_string(texts.size() - kShown) + " more";
    return list;
}

std::vector<Finding> contentFindings(const Content& content) {
    ContentFindings findings;
    findings.addMembers(content);
    findings.addCurrencies(content);
    findings.addAccounts(content);
    findings.addRecords(content);
    return std::move(findings.found);
}

}  // namespace tovra::check
