#include "platform/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "platform/json_write.h"

namespace tovra::json {
namespace {

using namespace std::string_literals;

std::string repeated(std::string_view text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// The text parsed and written again; "refused" when it is no JSON.
std::string rewritten(std::string_view text) {
    const auto document = parse(text);
    if (!document) return "refused";
    std::string written;
    appendCompact(written, document->root());
    return written;
}

TEST(Json, AcceptsJsonAndWritesItCompactly) {
    const std::string numbers = "[0,-0,0.10,1.0,-1E+05,1e-7,1e999,123456789012345678901234567890]";
    const std::string deepest = repeated("[", 512) + repeated("]", 512);
    const std::pair<std::string, std::string> cases[] = {
        {numbers, numbers},
        {deepest, deepest},
        {"\t\r\n { \"b\" : [ 1 , true,null , false,\"\" ] ,\"a\":{\"\":[{ } ]}\n}",
         R"({"a":{"":[{}]},"b":[1,true,null,false,""]})"},
        {R"(["\u0041\u00e9\/\"\\\b\f\n\r\t\u001F\u0000","\ud83d\uDE00\uffff)"
         "\x7F\u2028\"]",
         R"(["Aé/\"\\\b\f\n\r\t\u001f\u0000","😀)"
         "\uFFFF\x7F\u2028\"]"},
        {R"({"\u0061":1,"é":[3,{"c":1,"c":2}],"ab\n":2,"a":3,"B":4})",
         R"({"B":4,"a":3,"ab\n":2,"é":[3,{"c":2}]})"},
        {R"([{"b":1,"a":2},{"d":3,"c":4},{"a":5,"b":6},{"a":7,"a":8},{"b":9,"a":{"z":0,"y":1}}])",
         R"([{"a":2,"b":1},{"c":4,"d":3},{"a":5,"b":6},{"a":8},{"a":{"y":1,"z":0},"b":9}])"}};
    for (const auto& [text, written] : cases) {
        EXPECT_EQ(rewritten(text), written) << text;
        EXPECT_EQ(rewritten(written), written) << text;
        for (std::size_t size = 0; size < text.size(); ++size) {
            EXPECT_EQ(rewritten(text.substr(0, size)), "refused") << size << " bytes of " << text;
        }
    }
    EXPECT_EQ(rewritten("{} \r\n\t" + repeated(" ", 200000)), "{}");
}

TEST(Json, RefusesEverythingElse) {
    const std::string cases[] = {
        // no array or object, or something beside it
        "", " ", "1", "\"a\"", "null", "[] []", "[]x", "[]]", "{}\0"s, "\xEF\xBB\xBF{}", "[\0]\0"s,
        // brackets, commas, colons
        "]", "[}", "{]", R"({"a":1])", "[1,]", "[,1]", "[1,,2]", "[1 2]", R"(["a"1])", "[[]1]",
        "[1[]]", R"({"a"})", R"({"a":})", R"({"a" 1})", R"({"a":1,})", R"({"a":1 "b":2})",
        R"({"a"::1})", "[1:2]", "{a:1}", "{1:1}", "{[]:1}",
        // blanks that are none, comments, words and numbers
        "[\f]", "[1\x0C,2]", "[\xC2\xA0]", "{\"a\"\x1A 1}", "[1]//x", "[nul]", "[nulll]", "[True]",
        "[NaN]", "[01]", "[-01]", "[+1]", "[.5]", "[1.]", "[1.e1]", "[1e]", "[1e+]", "[1e1.5]",
        "[-]", "[--1]", "[0x1]", "[1a]", "[- 1]", "[1\0]"s, "[1\\]",
        // strings and their escapes
        "['a']", R"(["a\"])", "[\"\n\"]", "[\"\x1F\"]", "[\"\0\"]"s, R"(["\x"])", R"(["\U0041"])",
        R"(["\u"])", R"(["\u12g4"])", R"(["\ud800"])", R"(["\udc00\udc00"])", R"(["\ud800x"])",
        R"(["\ud800\n"])", R"(["\ud800\ud800"])", R"(["\ud800\ue000"])", R"({"\udbff":1})",
        // invalid UTF-8
        "[\"\xFF\"]", "[\"\xC0\x80\"]", "[\"\xED\xA0\x80\"]", "[\"\xE2\x82\"]", "{\"\xFF\":1}",
        // too deep
        repeated("[", 513) + repeated("]", 513), repeated("[{\"a\":", 100000),
        repeated("{\"a\":", 512) + "[]" + repeated("}", 512)};
    for (const std::string& text : cases) {
        EXPECT_EQ(rewritten(text), "refused") << testing::PrintToString(text.substr(0, 60));
    }
}

TEST(Json, TakesLongTextsOfManyLinesLikeShortOnes) {
    for (const std::string part : {"1,", "{\"é\\n\":[2.5]},", "\"a\\\"b\\\\\",", "[[],{}],"}) {
        const std::string lines = repeated(part + "\n", 50000);
        EXPECT_EQ(rewritten("[" + lines + "0]"), "[" + repeated(part, 50000) + "0]") << part;
        for (const char* end : {"", "0", "\"\n\"]", "\xFF]", "\\\n]", "0]\n0"}) {
            EXPECT_EQ(rewritten("[" + lines + end), "refused") << part << end;
        }
    }
    EXPECT_EQ(rewritten("[]\n" + repeated(" ", 200000) + "\xFF"), "refused");
}

TEST(Json, ReadsNumbersWithFullPrecisionAndMembersByTheirLastName) {
    auto parsed =
        parse(R"({"n\u0000":0.1,"n":2,"s":"a\u0000b","o":[{"n":7},{}],"m":5e-324,"z":-1e999,)"
              R"("p":9007199254740993.00000000001,"q":9007199254740993,"n":-1.5E2})");
    const Document document = *std::move(parsed);
    const Value root = document.root();
    const std::pair<std::string, double> numbers[] = {
        {"n", -150},      {"n\0"s, 0.1},           {"m", 5e-324},
        {"z", -HUGE_VAL}, {"q", 9007199254740992}, {"p", 9007199254740994}};
    for (const auto& [name, value] : numbers) EXPECT_EQ(root.member(name).number(), value) << name;
    EXPECT_EQ(root.member("s").string(), "a\0b"s);
    EXPECT_EQ(root.children().size(), 9U);
}

}  // namespace
}  // namespace tovra::json
