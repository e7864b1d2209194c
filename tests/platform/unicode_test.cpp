#include "platform/unicode.h"

#include <gtest/gtest.h>

#include <utility>

namespace tovra {
namespace {

using namespace std::string_literals;

TEST(Unicode, MapsToLowerAndUpperCase) {
    const std::string rows[][3] = {{"Az[`{@ 0", "az[`{@ 0", "AZ[`{@ 0"},
                                   {"É\0aB"s, "é\0ab"s, "É\0AB"s},
                                   {"Straße", "straße", "STRASSE"},
                                   {"İıi", "i\u0307ıi", "İII"},
                                   {"ΟΔος", "οδος", "ΟΔΟΣ"}};
    for (const auto& [text, lower, upper] : rows) {
        EXPECT_EQ(lowerCased(text) + upperCased(text), lower + upper);
    }
}

TEST(Unicode, ComparesAndFindsWithoutCase) {
    using Pair = std::pair<std::string, std::string>;
    for (const auto& [a, b] : {Pair("WaLLet", "wallet"), Pair("STRASSE", "straße"),
                               Pair("ΣΣ", "ςσ"), Pair("É\0a"s, "é\0A"s)})
        EXPECT_TRUE(equalIgnoringCase(a, b)) << a;
    for (const auto& [a, b] : {Pair("a\0b"s, "A\0c"s), Pair("İ", "i"), Pair("\u00E9", "e\u0301")})
        EXPECT_FALSE(equalIgnoringCase(a, b)) << a;
    for (const auto& [text, term] :
         {Pair("Cafe Roma", "e r"), Pair("CAFÉ", "é"), Pair("x\0Yz"s, "\0y"s), Pair("İ", "i")})
        EXPECT_TRUE(lowerCasedContains(text, term)) << text;
    for (const auto& [text, term] :
         {Pair("Cafe", " cafe"), Pair("STRASSE", "ß"), Pair("Straße", "ss")})
        EXPECT_FALSE(lowerCasedContains(text, term)) << text;
}

}  // namespace
}  // namespace tovra
