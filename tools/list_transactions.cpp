#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "platform/unicode.h"
#include "store/data_file.h"
#include "store/dates.h"
#include "store/lookup_cache.h"
#include "store/money.h"
#include "store/transaction.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using Field = TransactionField;

constexpr std::int64_t kDefaultLimit = 20;

// What a transaction has to match to be listed.
struct Filter {
    std::string_view type;            // "All" keeps every type
    std::string search;               // in its form; empty keeps everything
    std::optional<Instant> earliest;  // drops what has an earlier date, but keeps what has none
};

// The date of a transaction without a readable one: before all others.
constexpr Instant kDistantPast = -std::numeric_limits<Instant>::infinity();

struct Match {
    json::Value record;
    Instant date;
};

Filter readFilter(json::Value arguments, Instant now) {
    Filter filter{stringField(arguments, "type"), searchForm(stringField(arguments, "search")), {}};
    if (filter.type.empty()) filter.type = "All";
    if (const auto days = positiveWholeNumberField(arguments, "days")) {
        filter.earliest = daysAgo(*days, now);
    }
    return filter;
}

// The newest matches, and how many there are in all.
class NewestMatches {
  public:
    NewestMatches(std::size_t limit, const Filter& filter) : limit_(limit), filter_(filter) {}

    void add(json::Value record) {
        const Transaction transaction(record);
        if (filter_.type != "All" && transaction.type() != filter_.type) return;
        if (!matches(transaction.payee()) && !matches(transaction.category())) return;
        const bool isTooOld = shown_ && !shown_->mayContain(transaction.date());
        std::optional<Instant> date;
        if (filter_.earliest || !isTooOld) date = parseDate(transaction.date(), dayFormatter_);
        if (filter_.earliest && date && *date < *filter_.earliest) return;
        ++count_;
        if (isTooOld) return;
        matches_.push_back({record, date.value_or(kDistantPast)});
        if (matches_.size() == limit_ + std::max(limit_, kFewestSpare)) dropOlder();
    }

    [[nodiscard]] std::size_t count() const { return count_; }
    // At most `limit` of them, newest first.
    std::vector<Match> takeSorted() && {
        if (matches_.size() > limit_) dropOlder();
        std::sort(matches_.begin(), matches_.end(), isBefore);
        return std::move(matches_);
    }

  private:
    // Equal dates stay in the order of the file.
    static bool isBefore(const Match& a, const Match& b) {
        return a.date != b.date ? a.date > b.date : a.record.precedes(b.record);
    }

    // Whether the search finds something in the text.
    bool matches(std::string_view text) {
        const auto search = [&](std::string_view it) { return searchFinds(it, filter_.search); };
        return filter_.search.empty() || found_.find(text, search);
    }

    void dropOlder() {
        const auto last = matches_.begin() + static_cast<std::ptrdiff_t>(limit_) - 1;
        std::nth_element(matches_.begin(), last, matches_.end(), isBefore);
        matches_.erase(last + 1, matches_.end());
        // Records come from the last to the first. Among undated ones the order of the file
        // decides, so each that is still to come may be shown.
        if (last->date != kDistantPast) shown_ = Period(last->date);
    }

    // At least so many spare ones are gathered before the older ones are dropped.
    static constexpr std::size_t kFewestSpare = 128;

    std::size_t limit_;
    const Filter& filter_;
    DayFormatter dayFormatter_;
    LookupCache<bool> found_;  // by the search
    std::size_t count_ = 0;
    std::vector<Match> matches_;
    std::optional<Period> shown_;  // no earlier date can still be shown
};

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

    const json::Document document = loadData(
        {Field::type, Field::date, Field::amount, Field::currency, Field::payee, Field::category});
    const json::Children transactions = objectArrayField(document.root(), "transactions");
    NewestMatches newest(std::min(static_cast<std::size_t>(limit), transactions.size()), filter);
    // The newest are mostly the last. Once they are known, few others have to be looked at closely.
    for (std::size_t i = transactions.size(); i > 0; --i) newest.add(transactions[i - 1]);
    const std::size_t count = newest.count();
    if (count == 0) return "No matching transactions.";

    const std::vector<Match> shown = std::move(newest).takeSorted();
    const DayFormatter dayFormatter;
    std::string text =
        "Showing " + std::to_string(shown.size()) + " of " + std::to_string(count) + ":";
    for (const Match& match : shown) {
        text += '\n';
        appendRow(text, match, dayFormatter);
    }
    return text;
}

}  // namespace tovra
