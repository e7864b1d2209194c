#include "platform/unicode.h"

#include <gtest/gtest.h>

#include <utility>

namespace tovra {
namespace {

using namespace std::string_literals;
using Pair = std::pair<std::string, std::string>;

TEST(Unicode, MapsToLowerAndUpperCase) {
    const Pair lower[] = {{"Az[`{@ 0", "az[`{@ 0"},
                          {"É\0a\0B"s, "é\0a\0b"s},
                          {"Straße", "straße"},
                          {"İI", "i\u0307i"},
                          {"ıſK\u212A", "ıſkk"},
                          {"ΟΔΟΣ ΣΑΣ", "οδος σας"},
                          {"𐐀𐐨😀", "𐐨𐐨😀"}};
    for (const auto& [text, mapped] : lower) EXPECT_EQ(lowerCased(text), mapped) << text;
    const Pair upper[] = {
        {"Az[`{@ 0", "AZ[`{@ 0"}, {"É\0a\0B"s, "É\0A\0B"s}, {"Straße", "STRASSE"}, {"İıi", "İII"},
        {"ſ\u212A", "S\u212A"},   {"οδος", "ΟΔΟΣ"},         {"ŉﬁ", "\u02BCNFI"},   {"𐐀𐐨😀", "𐐀𐐀😀"}};
    for (const auto& [text, mapped] : upper) EXPECT_EQ(upperCased(text), mapped) << text;
}

TEST(Unicode, ComparesWholeTextsWithoutCase) {
    const Pair equal[] = {{"", ""},         {"wallet", "WaLLet"}, {"STRASSE", "straße"},
                          {"ſ", "S"},       {"\u212A", "k"},      {"ςσ", "ΣΣ"},
                          {"İ", "i\u0307"}, {"𐐀", "𐐨"},           {"É\0a"s, "é\0A"s}};
    for (const auto& [a, b] : equal) EXPECT_TRUE(equalIgnoringCase(a, b)) << a << " | " << b;
    const Pair different[] = {
        {"wallet", "wallet "}, {"a\0b"s, "A\0c"s}, {"a\0"s, "a"}, {"İ", "i"}, {"ı", "I"},
        {"\u00E9", "e\u0301"}};
    for (const auto& [a, b] : different) EXPECT_FALSE(equalIgnoringCase(a, b)) << a << " | " << b;
}

TEST(Unicode, FindsALowerCaseTermWithoutFolding) {
    const Pair found[] = {{"Cafe Roma", "e r"}, {"CAFÉ", "é"}, {"\u212A", "k"}, {"x\0Yz"s, "\0y"s},
                          {"É\0É"s, "\0é"s},    {"𐐀", "𐐨"},    {"İ", "i"}};
    for (const auto& [text, term] : found) EXPECT_TRUE(lowerCasedContains(text, term)) << text;
    const Pair missing[] = {{"Cafe", " cafe"},    {"Cafe", "é"}, {"STRASSE", "ß"},
                            {"Straße", "ss"},     {"x", "x\0"s}, {"", "a"},
                            {"e\u0301", "\u00E9"}};
    for (const auto& [text, term] : missing) EXPECT_FALSE(lowerCasedContains(text, term)) << text;
}

}  // namespace
}  // namespace tovra
