#include "platform/unicode.h"

#include "tests/support/table.h"

namespace tovra {
namespace {

using test::Row;

using namespace std::string_literals;

TEST(Unicode, IsMappedAsTheTableSays) {
    test::expectTable("platform/golden/unicode.txt",
                      {{"upper", [](const Row& row) { return upperCased(row[1]); }},
                       {"search", [](const Row& row) { return searchForm(row[1]); }},
                       {"name", [](const Row& row) { return nameForm(row[1]); }},
                       {"composed",
                        [](const Row& row) {
                            ComposedTexts texts;
                            EXPECT_EQ(composed(row[1]), texts(row[1]));
                            return std::string(texts(row[1]));
                        }},
                       {"finds", [](const Row& row) {
                            return searchFinds(row[1], searchForm(row[2])) ? "yes"s : "no"s;
                        }}});
}

}  // namespace
}  // namespace tovra
