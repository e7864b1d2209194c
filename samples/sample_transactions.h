// The transactions of the sample data.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "samples/pretty_text.h"
#include "samples/random.h"
#include "samples/sample_data.h"

namespace tovra::support {

// What a transaction says of an account.
struct SampleAccount {
    std::string id;
    std::string_view currency;
};

// In how many versions each subcategory occurs. Each of `budgets` budgets then has a pair of
// category and subcategory of its own.
[[nodiscard]] std::size_t subcategoryVersions(std::size_t budgets);
// "Coffee", "Coffee 2", "Coffee 3" and so on; an empty subcategory stays empty.
[[nodiscard]] std::string versionedSubcategory(std::string_view subcategory, std::size_t version);

// Appends `options.transactions` elements to the array that is open in `out`, most of them in the
// order of their dates.
void appendTransactions(PrettyText& out, const SampleOptions& options,
                        std::span<const SampleAccount> accounts, Random& random);

}  // namespace tovra::support
