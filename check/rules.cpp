// The sentences about the records.
#include "check/rules.h"

#include <cmath>

#include "json/write.h"

namespace tovra::check {
namespace {

// "1 transaction", "12 transactions".
std::string number(std::size_t count, std::string_view list) {
    std::string noun(list);
    if (count == 1) noun.pop_back();
    return std::to_string(count) + " " + noun;
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

void tellTally(Findings& findings, Level level, const Tally& tally, std::string_view list,
               std::string_view about, std::string_view what, std::string_view effect) {
    if (tally.count == 0) return;
    std::string text = std::string(what) + ": " + number(tally.count, list);
    for (std::size_t i = 0; i < tally.first.size(); ++i) {
        text += i > 0 ? "; " : tally.count > tally.first.size() ? ", such as " : ", ";
        text += shown(tally.first[i]);
    }
    findings.add(level, about, text + ". " + std::string(effect));
}

void tellField(Findings& findings, const Field& field, const std::array<Tally, kWrongs>& tallies,
               std::size_t transactions) {
    constexpr std::array<std::string_view, 4> kWanted = {"is no text", "is neither true nor false",
                                                         "is no number", "is no number"};
    const bool isNumber = field.wants == Wants::number || field.wants == Wants::positiveNumber;
    const bool isSplit = field.list == "splits";
    const std::string whose =
        (isSplit ? "With a split whose " : "Whose ") + inQuotes(field.member) + " ";
    const std::string_view list = isSplit ? "transactions" : field.list;
    const std::string_view about =
        field.member == "amount" && !isSplit ? "no-amount" : "wrong-type";
    const auto tell = [&](Wrong wrong, Level level, std::string_view name, std::string_view what,
                          const std::string& effect) {
        tellTally(findings, level, tallies[static_cast<std::size_t>(wrong)], list, name,
                  whose + std::string(what), effect);
    };
    tell(Wrong::type, Level::warning, about, kWanted[static_cast<std::size_t>(field.wants)],
         std::string(field.effect) +
             (isNumber ? " Numbers are written as 1000.50, without quotes." : ""));
    tell(Wrong::truth, Level::warning, about, "is true or false", "Counted as 1 or 0.");
    tell(Wrong::tooLarge, Level::warning, "too-large", "is too large to count cents",
         "Totals with it are inexact, or come out as inf or nan.");
    // A few are repayments; where most are, the program that wrote them means something else.
    const bool areFew = field.list == "transactions" &&
                        tallies[static_cast<std::size_t>(Wrong::negative)].count * 2 < transactions;
    tell(Wrong::negative, areFew ? Level::note : Level::warning, "negative", "is below 0",
         std::string(negativeEffect(field)));
}

// What is wrong with the value of that field, if anything.
std::optional<Wrong> faultOf(const Field& field, json::Value value) {
    constexpr double kMostWithCents = 9e13;  // a double has 53 bits
    const bool isNothing = !value.exists() || value.is(json::Kind::null);
    if (isNothing && !field.isNeeded) return std::nullopt;
    const bool isTruth = value.boolean().has_value();
    if (field.wants == Wants::text || field.wants == Wants::truth) {
        const bool isRight = field.wants == Wants::truth ? isTruth : value.is(json::Kind::string);
        return isRight ? std::nullopt : std::optional(Wrong::type);
    }
    const auto number = value.number();
    if (!number) return isTruth ? Wrong::truth : Wrong::type;
    if (std::abs(*number) > kMostWithCents) return Wrong::tooLarge;
    if (*number < 0 && field.wants == Wants::positiveNumber) return Wrong::negative;
    return std::nullopt;
}

}  // namespace

void Tallies::look(std::size_t field, json::Value value, const Example& example) {
    const auto wrong = faultOf(kFields[field], value);
    if (!wrong) return;
    fields_[field][static_cast<std::size_t>(*wrong)].add(
        {example.number, example.label, example.day, value});
}

void Tallies::look(std::string_view list, json::Value object, const Example& example) {
    for (std::size_t field = 0; field < kFields.size(); ++field) {
        if (kFields[field].list != list) continue;
        look(field, object.member(kFields[field].member), example);
    }
}

void Tallies::tell(Findings& findings, std::size_t transactions) const {
    for (std::size_t i = 0; i < kRules.size(); ++i) {
        const auto& [level, about, what, effect] = kRules[i];
        // What most have is not meant.
        const bool isMost = rules_[i].count * 2 > transactions;
        tellTally(findings, isMost ? Level::warning : level, rules_[i], "transactions", about, what,
                  effect);
    }
    for (std::size_t i = 0; i < kFields.size(); ++i) {
        tellField(findings, kFields[i], fields_[i], transactions);
    }
}

}  // namespace tovra::check
