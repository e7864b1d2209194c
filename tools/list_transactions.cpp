#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "platform/unicode.h"
#include "store/data_file.h"
#include "store/dates.h"
#include "store/money.h"
#include "store/transaction.h"
#include "tools/tools.h"

namespace tovra {
namespace {

constexpr std::int64_t kDefaultLimit = 20;

// What a transaction has to match to be listed.
struct Filter {
    std::string_view type;            // "All" keeps every type
    std::string search;               // in lower case; empty keeps everything
    std::optional<Instant> earliest;  // drops what has an earlier date, but keeps what has none
};

// The date of a transaction without a readable one: before all others.
constexpr Instant kDistantPast = -std::numeric_limits<Instant>::infinity();

struct Match {
    json::Value record;
    Instant date;
};

Filter readFilter(json::Value arguments, Instant now) {
    Filter filter{stringField(arguments, "type"), lowerCased(stringField(arguments, "search")), {}};
    if (filter.type.empty()) filter.type = "All";
    if (const auto days = positiveWholeNumberField(arguments, "days")) {
        filter.earliest = daysAgo(*days, now);
    }
    return filter;
}

bool matchesText(const Transaction& transaction, const Filter& filter) {
    if (filter.type != "All" && transaction.type() != filter.type) return false;
    return filter.search.empty() || lowerCasedContains(transaction.payee(), filter.search) ||
           lowerCasedContains(transaction.category(), filter.search);
}

std::vector<Match> matching(const json::Children& transactions, const Filter& filter,
                            DayFormatter& dayFormatter) {
    std::vector<Match> matches;
    matches.reserve(transactions.size());
    for (const json::Value record : transactions) {
        const Transaction transaction(record);
        if (!matchesText(transaction, filter)) continue;
        const auto date = parseDate(transaction.date(), dayFormatter);
        if (filter.earliest && date && *date < *filter.earliest) continue;
        matches.push_back({record, date.value_or(kDistantPast)});
    }
    return matches;
}

// Brings the newest `count` matches to the front, in order; equal dates stay in file order.
void sortNewestFirst(std::vector<Match>& matches, std::size_t count) {
    const auto isBefore = [](const Match& a, const Match& b) {
        // The elements of one array, so precedes() compares their order in the file.
        return a.date != b.date ? a.date > b.date : a.record.precedes(b.record);
    };
    const auto end = matches.begin() + static_cast<std::ptrdiff_t>(count);
    std::partial_sort(matches.begin(), end, matches.end(), isBefore);
}

void appendRow(std::string& text, const Match& match, const DayFormatter& dayFormatter) {
    const Transaction transaction(match.record);
    const std::string_view payee = transaction.payee();
    const std::string_view category = transaction.category();
    text += match.date == kDistantPast ? "?" : dayFormatter.format(match.date);
    text += "  ";
    text += transaction.isExpense() ? "−" : "+";
    text += moneyText(transaction.currency(), transaction.amount());
    text += "  ";
    text += payee.empty() ? category : payee;
    text += " [";
    text += category;
    text += ']';
}

}  // namespace

std::string toolListTransactions(json::Value arguments, Instant now) {
    const auto limit = positiveWholeNumberField(arguments, "limit").value_or(kDefaultLimit);
    const Filter filter = readFilter(arguments, now);

    const json::Document document = loadData();
    DayFormatter dayFormatter;
    auto matches =
        matching(objectArrayField(document.root(), "transactions"), filter, dayFormatter);
    if (matches.empty()) return "No matching transactions.";

    const std::size_t shown = std::min(static_cast<std::size_t>(limit), matches.size());
    sortNewestFirst(matches, shown);
    std::string text =
        "Showing " + std::to_string(shown) + " of " + std::to_string(matches.size()) + ":";
    for (std::size_t i = 0; i < shown; ++i) {
        text += '\n';
        appendRow(text, matches[i], dayFormatter);
    }
    return text;
}

}  // namespace tovra
