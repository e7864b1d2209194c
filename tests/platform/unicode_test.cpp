#include "platform/unicode.h"

#include "tests/support/table.h"

namespace tovra {
namespace {

using test::Row;

std::string answer(bool yes) { return yes ? "yes" : "no"; }

TEST(Unicode, LetterCaseIsAsTheTableSays) {
    test::expectTable(
        "platform/golden/letter_case.txt",
        {{"lower", [](const Row& row) { return lowerCased(row[1]); }},
         {"upper", [](const Row& row) { return upperCased(row[1]); }},
         {"equal", [](const Row& row) { return answer(equalIgnoringCase(row[1], row[2])); }},
         {"contains", [](const Row& row) { return answer(lowerCasedContains(row[1], row[2])); }}});
}

}  // namespace
}  // namespace tovra
