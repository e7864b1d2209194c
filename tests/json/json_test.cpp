#include "json/json.h"

#include "json/write.h"
#include "samples/sample_data.h"
#include "tests/support/table.h"

namespace tovra::json {
namespace {

using test::Row;

// The text parsed and written again; "refused" when it is no JSON.
std::string rewritten(std::string_view text) {
    const auto document = parse(text);
    if (!document) return "refused";
    std::string written;
    appendCompact(written, document->root());
    return written;
}

std::string written(const Row& row) {
    const std::string& text = row[1];
    const std::string result = rewritten(text);
    EXPECT_EQ(rewritten(result), result);
    for (std::size_t size = 0; result != "refused" && size < text.size(); ++size) {
        EXPECT_EQ(rewritten(text.substr(0, size)), "refused") << size << " bytes";
    }
    return result;
}

// Of the members of these names all are kept but "b", those named "w" whole.
std::string kept(const Row& row) {
    static constexpr std::string_view kKnown[] = {"a", "b", "w"};
    const auto document = parse(row[1], {kKnown, 0b101, 2});
    EXPECT_EQ(document.has_value(), parse(row[1]).has_value());
    if (!document) return "refused";
    std::string written;
    appendCompact(written, document->root());
    return written;
}

std::string repeated(const Row& row) {
    std::string text;
    for (std::size_t i = 1; i + 2 < row.size(); i += 2) {
        for (int times = std::stoi(row[i]); times > 0; --times) text += row[i + 1];
    }
    const std::string result = rewritten(text);
    std::erase_if(text, [](char c) { return c == ' ' || ('\t' <= c && c <= '\r'); });
    return result == text ? "kept" : result.substr(0, 60);
}

std::string pretty(const Document& document, const Edit& edit) {
    std::string written;
    writePretty(document, edit, [&](std::string_view piece) { written += piece; });
    return written;
}

// Written as the data file is saved, with the member "+": 1 or the element 1 added.
std::string saved(const Row& row) {
    const Document document = parse(row[1]).value();
    return pretty(document, {document.root(), "+", "1"});
}

std::string number(const Row& row) {
    const Document document = *parse(row[1]);
    EXPECT_EQ(document.root().member(row[2]).number(), std::strtod(row.at(3).c_str(), nullptr));
    return row.at(3);
}

TEST(Json, IsReadAndWrittenAsTheTableSays) {
    test::expectTable("json/golden/json.txt", {{"written", written},
                                               {"kept", kept},
                                               {"repeated", repeated},
                                               {"saved", saved},
                                               {"number", number}});
}

// Whatever the parser refuses stops being JSON somewhere, and nothing else does.
std::string stops(const Row& row) {
    const std::string whole = "[" + std::string(70'000, ' ') + "\n" + row[1] + ",0]";
    for (const std::string& text : {row[1], whole}) {
        const auto at = whereInvalid(text);
        // A byte at a time, so that pieces end in the midst of characters.
        const auto read = [rest = std::string_view(text)](char* into, std::size_t) mutable {
            const std::size_t count = rest.copy(into, 1);
            rest.remove_prefix(count);
            return static_cast<std::ptrdiff_t>(count);
        };
        EXPECT_EQ(whereInvalid(Source{text.size(), read}, {}), at);
        EXPECT_EQ(at.has_value(), !parse(text).has_value());
        if (at) {
            EXPECT_EQ(whereInvalid(text.substr(0, *at)).value_or(*at), *at);
        }
    }
    const auto at = whereInvalid(row[1]);
    return at ? std::to_string(*at) : "nowhere";
}

std::string invalid(const Row& row) {
    EXPECT_EQ(stops(row) == "nowhere", parse(row[1]).has_value());
    return row.back();
}

TEST(Json, SaysWhereItStops) {
    const auto other = [](const Row& row) { return row.back(); };
    test::expectTable("json/golden/stops.txt", {{"stops", stops}});
    test::expectTable("json/golden/json.txt", {{"written", invalid},
                                               {"kept", invalid},
                                               {"repeated", other},
                                               {"saved", other},
                                               {"number", other}});
}

TEST(Json, ChangesOnlyTheLinesOfWhatIsAdded) {
    const std::string before = support::sampleData({.transactions = 500, .today = {}});
    const Document document = parse(before).value();
    const std::string record = R"({"b":"/","a":{}})";
    std::string after = pretty(document, {document.root().member("transactions"), "", record});
    const std::string lines = ",\n    {\n      \"a\" : {\n\n      },\n      \"b\" : \"\\/\"\n    }";
    ASSERT_NE(after.find(lines), std::string::npos);
    EXPECT_EQ(after.erase(after.find(lines), lines.size()), before);
}

TEST(Json, KeepsMoreNamesThanItExpectsAgain) {
    std::string object;
    for (int i = 1000; i < 3000; ++i) {
        object += (object.empty() ? "{\"" : ",\"") + std::to_string(i) + "\":0";
    }
    const std::string text = "[" + object + "}," + object + "}]";
    EXPECT_EQ(rewritten(text), text);
}

TEST(Json, TellsNamesApartByEveryByte) {
    for (std::size_t size = 1; size <= 40; ++size) {
        for (std::size_t at = 0; at <= size; ++at) {
            std::string name(size, 'a'), other = name + 'a';
            if (at < size) (other = name)[at] = 'b';
            // Behind "0" the parser expects the name that followed it before.
            const std::string text =
                R"([{"0":0,")" + name + R"(":1},{"0":2,")" + other + R"(":3}])";
            EXPECT_EQ(rewritten(text), text);
        }
    }
}

}  // namespace
}  // namespace tovra::json
