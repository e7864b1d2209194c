// The transactions of a data document, looked at in one pass.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "check/content.h"
#include "check/names.h"
#include "check/rules.h"
#include "store/lookup_cache.h"

namespace tovra::check {

// How often each text occurs.
using Numbers = std::unordered_map<std::string_view, std::size_t>;

// Counts texts, of which the same come again and again.
class Counter {
  public:
    void add(std::string_view text) {
        ++*found_.find(text, [&](std::string_view each) { return &numbers[each]; });
    }
    Numbers numbers;

  private:
    LookupCache<std::size_t*> found_;
};

// Finds records that are like one before, by a hash of 64 bits. Not for several threads.
class Doubles {
  public:
    explicit Doubles(std::size_t most) : most_(most), seen_(std::bit_ceil(2 * most + 2)) {}
    // Notes the number of a record whose hash was added before. Beyond so many, new ones are left
    // out.
    void add(std::size_t hash, std::size_t number) {
        if (hash == kFree) ++hash;
        std::size_t place = hash;
        while (seen_[place &= seen_.size() - 1] != kFree && seen_[place] != hash) ++place;
        if (seen_[place] == hash) {
            later.push_back(static_cast<std::uint32_t>(number));
        } else if (count_ < most_) {
            seen_[place] = hash;
            ++count_;
        }
    }
    std::vector<std::uint32_t> later;  // the numbers of such records, ascending

  private:
    static constexpr std::size_t kFree = 0;
    std::size_t most_;
    std::size_t count_ = 0;
    std::vector<std::size_t> seen_;
};

// Adds up what the transactions are like. Keeps views into the document, and a reference to the
// content. Not for several threads.
class TransactionSurvey {
  public:
    TransactionSurvey(Content& content, Tallies& tallies, json::Value data, Instant now);

    // Looks at them all, once.
    void run();

    // What expenses have, and what their splits have.
    [[nodiscard]] const Numbers& categories() const { return categories_.numbers; }
    [[nodiscard]] const Numbers& subcategories() const { return subcategories_.numbers; }
    [[nodiscard]] const Numbers& splitCategories() const { return splitCategories_.numbers; }
    // Whether an expense has both.
    [[nodiscard]] bool haveBoth(std::string_view category, std::string_view subcategory) const;
    // The names of members that are read in another letter case.
    [[nodiscard]] std::vector<OtherCase> otherCase() const;

  private:
    struct Record;

    void add(const Record& record);
    void addDate(const Record& record);
    void addAccounts(const Record& record);
    void addCategories(const Record& record);
    void addDoubles(const Record& record);
    void addTwins();
    void finish();

    Content& content_;
    Tallies& tallies_;
    json::Children transactions_;
    Period month_;
    Instant now_;
    DayFormatter dayFormatter_;
    std::unordered_set<std::string_view> ids_;                   // of accounts
    std::vector<std::pair<std::size_t, std::uint32_t>> fields_;  // by places in kFields, and names
    Counter types_;
    Counter currencies_;
    Counter categories_;
    Counter subcategories_;
    Counter splitCategories_;
    std::uint64_t others_ = 0;  // a bit for the place of each name that is none of a transaction
    const std::uint32_t placeOfSplits_ = placeOf("splits");
    Doubles withID_;
    // Of many transactions a part is looked at first, in search of twins: those whose hash is a
    // multiple of this.
    const std::size_t part_;
    std::size_t looked_ = 0;
    Doubles some_;
};

}  // namespace tovra::check
