#include "samples/sample_transactions.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <cstdio>
#include <vector>

#include "samples/sample_words.h"
#include "store/dates.h"

namespace tovra::support {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

std::string dayText(sys_days day) {
    const std::chrono::seconds midnight = day.time_since_epoch();
    return isoFormatter.format(static_cast<Instant>(midnight.count())).substr(0, 10);
}

std::string timeText(Random& random, std::string_view zone) {
    const std::size_t hour = random.between(6, 21);
    const std::size_t minute = random.below(60);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "T%02zu:%02zu:%02zu", hour, minute, random.below(60));
    return text.data() + std::string(zone);
}

sys_days firstOfMonth(sys_days day) {
    const year_month_day date{day};
    return sys_days{date.year() / date.month() / 1};
}

constexpr std::size_t kTenYears = 3650;

// The days of all transactions, ascending: first those before this month, then those in it.
class Days {
  public:
    explicit Days(const SampleOptions& options)
        : today_(options.today),
          month_(firstOfMonth(options.today)),
          length_(days{options.layout == SampleLayout::application
                           ? kTenYears
                           : std::clamp<std::size_t>(options.transactions / 4, 90, kTenYears)}),
          count_(options.transactions),
          countThisMonth_(std::min(count_, std::max<std::size_t>(40, share(thisMonth())))) {}

    [[nodiscard]] sys_days start() const { return month_ - length_; }

    // REQUIRES: index < options.transactions.
    [[nodiscard]] sys_days operator[](std::size_t index) const {
        assert(index < count_);
        const std::size_t before = count_ - countThisMonth_;
        if (index < before) return at(start(), length_, index, before);
        return at(month_, thisMonth(), index - before, countThisMonth_);
    }

  private:
    [[nodiscard]] days thisMonth() const { return today_ - month_ + days{1}; }
    // How many of the transactions fall on `part` of all the days.
    [[nodiscard]] std::size_t share(days part) const {
        return count_ * static_cast<std::size_t>(part.count()) /
               static_cast<std::size_t>((length_ + thisMonth()).count());
    }
    static sys_days at(sys_days first, days length, std::size_t index, std::size_t count) {
        const auto span = static_cast<std::size_t>(length.count());
        return first + days{index * span / count};
    }

    sys_days today_;
    sys_days month_;
    days length_;
    std::size_t count_;
    std::size_t countThisMonth_;
};

struct Payment {
    sys_days day;
    const Party* party;
    std::string_view type;
};

// The payments that come once a month, from `first` to `last`, ascending.
std::vector<Payment> monthlyPayments(sys_days first, sys_days last) {
    std::vector<Payment> payments;
    const auto add = [&](std::span<const Party> parties, std::string_view type) {
        for (const Party& party : parties) {
            if (party.weight > 0) continue;
            year_month_day date{firstOfMonth(first) + days{party.dayOfMonth - 1}};
            for (; sys_days{date} <= last; date += std::chrono::months{1}) {
                if (sys_days{date} >= first) payments.push_back({sys_days{date}, &party, type});
            }
        }
    };
    add(incomeParties(), "Income");
    add(expenseParties(), "Expense");
    std::stable_sort(payments.begin(), payments.end(),
                     [](const Payment& a, const Payment& b) { return a.day < b.day; });
    return payments;
}

const Party& weightedChoice(std::span<const Party> parties, Random& random) {
    std::size_t total = 0;
    for (const Party& party : parties) total += party.weight;
    std::size_t left = random.below(total);
    for (const Party& party : parties) {
        if (left < party.weight) return party;
        left -= party.weight;
    }
    return parties.back();
}

// Writes one transaction after another.
class TransactionWriter {
  public:
    TransactionWriter(PrettyText& out, const SampleOptions& options,
                      std::span<const SampleAccount> accounts, Random& random)
        : out_(out),
          accounts_(accounts),
          random_(random),
          days_(options),
          monthly_(monthlyPayments(days_.start(), options.today)),
          subcategoryVersions_(subcategoryVersions(options.budgets)),
          isOrdered_(options.layout == SampleLayout::sorted),
          count_(options.transactions) {}

    void append(std::size_t index) {
        sys_days day = days_[isOrdered_ ? index : random_.below(count_)];
        if (isOrdered_ && nextMonthly_ < monthly_.size() && monthly_[nextMonthly_].day <= day) {
            return appendPayment(monthly_[nextMonthly_++]);
        }
        if (!isOrdered_ && random_.chance(4)) {
            return appendPayment(random_.oneOf(std::span<const Payment>(monthly_)));
        }
        if (random_.chance(3)) day -= days{random_.below(20)};  // entered late
        if (random_.chance(6) && accounts_.size() > 1) return appendTransfer(day);
        const bool isIncome = random_.chance(4);
        const auto parties = isIncome ? incomeParties() : expenseParties();
        appendPayment({day, &weightedChoice(parties, random_), isIncome ? "Income" : "Expense"});
    }

  private:
    // Monthly payments use the first account, most others the second.
    const SampleAccount& accountOf(const Party& party) {
        const std::size_t roll = random_.below(100);
        if (party.weight == 0 || roll < 20) return accounts_.front();
        if (roll < 85) return accounts_[std::min<std::size_t>(1, accounts_.size() - 1)];
        return random_.oneOf(accounts_);
    }

    void appendPayment(const Payment& payment) {
        const Party& party = *payment.party;
        const std::size_t cents = random_.between(party.lowest, party.highest);
        const bool isForeign = party.weight > 0 && random_.chance(5);
        out_.open("{");
        std::string_view currency = "USD";
        if (accounts_.empty() || (party.weight > 0 && random_.chance(2))) {
            appendBegin(cents, party.category);
        } else {
            const SampleAccount& account = accountOf(party);
            currency = account.currency;
            out_.string(account.id, "accountID");
            appendBegin(cents, party.category);
        }
        appendMiddle(payment.day, isForeign ? "EUR" : currency, party.payee);
        if (payment.type == "Expense" && random_.chance(4)) appendSplits(cents, party.category);
        out_.string(versionedSubcategory(party.subcategory, random_.below(subcategoryVersions_)),
                    "subcategory");
        appendTags();
        out_.string(payment.type, "type");
        out_.close();
    }

    void appendTransfer(sys_days day) {
        const std::size_t from = random_.chance(85) ? 0 : random_.below(accounts_.size());
        const std::size_t step = random_.chance(45) ? 1 : random_.between(1, accounts_.size() - 1);
        out_.open("{");
        out_.string(accounts_[from].id, "accountID");
        appendBegin(random_.between(20, 900) * 100, "Transfer");
        appendMiddle(day, accounts_[from].currency, "");
        appendTags();
        out_.string(accounts_[(from + step) % accounts_.size()].id, "transferAccountID");
        out_.string("Transfer", "type");
        out_.close();
    }

    void appendBegin(std::size_t cents, std::string_view category) {
        out_.number(static_cast<double>(cents) / 100, "amount");
        out_.string(category, "category");
        out_.boolean(!random_.chance(8), "cleared");
    }

    void appendMiddle(sys_days day, std::string_view currency, std::string_view payee) {
        out_.string(dayText(day) + timeText(random_, "Z"), "createdAt");
        out_.string(currency, "currency");
        out_.string(dateText(day), "date");
        out_.string(random_.uuid(), "id");
        if (random_.chance(4)) appendLocation();
        out_.string(random_.oneOf(notes()), "note");
        out_.string(payee, "payee");
    }

    // The date in one of its two forms, chosen at random.
    std::string dateText(sys_days day) {
        const std::size_t form = random_.below(10);
        if (form < 3) return dayText(day);
        return dayText(day) + timeText(random_, form == 3 ? "+02:00" : "Z");
    }

    void appendLocation() {
        out_.open("{", "location");
        out_.number(static_cast<double>(random_.below(9000000)) / 100000, "latitude");
        out_.number(-static_cast<double>(random_.below(18000000)) / 100000, "longitude");
        out_.close();
    }

    void appendSplits(std::size_t cents, std::string_view category) {
        const std::size_t part = cents / random_.between(2, 4);
        out_.open("[", "splits");
        for (const bool isRest : {true, false}) {
            out_.open("{");
            out_.number(static_cast<double>(isRest ? cents - part : part) / 100, "amount");
            out_.string(isRest ? category : weightedChoice(expenseParties(), random_).category,
                        "category");
            out_.string(random_.uuid(), "id");
            out_.close();
        }
        out_.close();
    }

    void appendTags() {
        out_.open("[", "tags");
        if (random_.chance(20)) out_.string(random_.oneOf(tags()));
        out_.close();
    }

    PrettyText& out_;
    std::span<const SampleAccount> accounts_;
    Random& random_;
    Days days_;
    std::vector<Payment> monthly_;
    std::size_t nextMonthly_ = 0;
    std::size_t subcategoryVersions_;
    bool isOrdered_;
    std::size_t count_;
};

}  // namespace

std::size_t subcategoryVersions(std::size_t budgets) {
    // Budgets beyond the named ones take versions of the expenses' categories in turn.
    const std::size_t named = budgetWords().size();
    const std::size_t pairs = expenseParties().size();
    return budgets <= named ? 1 : 1 + (budgets - named + pairs - 1) / pairs;
}

std::string versionedSubcategory(std::string_view subcategory, std::size_t version) {
    std::string text(subcategory);
    if (!text.empty() && version > 0) text += ' ' + std::to_string(version + 1);
    return text;
}

void appendTransactions(PrettyText& out, const SampleOptions& options,
                        std::span<const SampleAccount> accounts, Random& random) {
    TransactionWriter writer(out, options, accounts, random);
    for (std::size_t i = 0; i < options.transactions; ++i) writer.append(i);
}

}  // namespace tovra::support
