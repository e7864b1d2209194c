// The transactions of a data document, looked at in one pass.
#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "check/content.h"
#include "check/names.h"
#include "check/rules.h"

namespace tovra::check {

// How often each text occurs.
using Numbers = std::unordered_map<std::string_view, std::size_t>;

// Adds up what the transactions are like. Keeps views into the document, and a reference to the
// content. Not for several threads.
class TransactionSurvey {
  public:
    TransactionSurvey(Content& content, Tallies& tallies, json::Value data, Instant now);

    // Looks at them all, once.
    void run();

    // What expenses have, and what their splits have.
    [[nodiscard]] const Numbers& categories() const { return categories_; }
    [[nodiscard]] const Numbers& subcategories() const { return subcategories_; }
    [[nodiscard]] const Numbers& splitCategories() const { return splitCategories_; }
    // Whether an expense has both.
    [[nodiscard]] bool haveBoth(std::string_view category, std::string_view subcategory) const;
    // The names of members that are read in another letter case.
    [[nodiscard]] std::set<OtherCase> otherCase() const;

  private:
    struct Record;

    void add(const Record& record);
    void addDate(const Record& record);
    void addAccounts(const Record& record);
    void addCategories(const Record& record);
    void tallyRepeated(Rule rule);

    Content& content_;
    Tallies& tallies_;
    json::Children transactions_;
    Period month_;
    Instant now_;
    DayFormatter dayFormatter_;
    std::unordered_set<std::string_view> accounts_;
    std::vector<std::pair<std::size_t, std::uint32_t>> fields_;  // by places in kFields, and names
    Numbers types_;
    Numbers currencies_;
    Numbers categories_;
    Numbers subcategories_;
    Numbers splitCategories_;
    std::uint64_t others_ = 0;  // a bit for the place of each name that is none of a transaction
};

}  // namespace tovra::check
