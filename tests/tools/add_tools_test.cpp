#include <gtest/gtest.h>

#include "platform/json_write.h"
#include "platform/unicode.h"
#include "store/recording.h"
#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using namespace std::string_literals;

constexpr Instant kNow = 1795554000.75;  // 2026-11-24T21:00:00.75Z

// What the tools answer; where they refuse with an exception, what that says.
std::string addTransaction(const std::string& arguments) {
    try {
        return toolAddTransaction(json::parse(arguments)->root(), kNow);
    } catch (const RecordingError& error) {
        return error.what();
    }
}
std::string addToGoal(const std::string& arguments) {
    try {
        return toolAddToGoal(json::parse(arguments)->root());
    } catch (const RecordingError& error) {
        return error.what();
    }
}

// A list of the data file, compact and with every random UUID in upper case replaced by "ID".
std::string listIn(const test::DataFile& file, std::string_view name) {
    const testing::Matcher<std::string> isUuid = testing::MatchesRegex(
        "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    const auto document = json::parse(test::fileBytes(file.path()));
    std::string text;
    if (document) json::appendCompact(text, document->root().member(name));
    for (std::size_t id = 0; (id = text.find(R"("id":")", id)) != std::string::npos;) {
        id += 6;
        if (isUuid.Matches(text.substr(id, 36))) text.replace(id, 36, "ID");
    }
    return text;
}

TEST(AddTransaction, RecordsWhatItConfirms) {
    const struct {
        const char* arguments;
        std::string text;
        const char* record;
    } kCases[] = {
        {R"({"amount":12.5,"payee":"Blue Bottle","category":"Coffee"})",
         "Added: −USD 12.50 Blue Bottle [Coffee]. Reopen or refresh Tovra to see it.",
         R"({"amount":12.5,"category":"Coffee","currency":"USD","date":"2026-11-24T21:00:00Z",)"
         R"("id":"ID","note":"","payee":"Blue Bottle","type":"Expense"})"},
        {R"({"amount":2000,"type":"Income","currency":"eur","date":"2024-11-05","note":"n"})",
         "Added: +EUR 2000.00  [Other]. Reopen or refresh Tovra to see it.",
         R"({"amount":2000,"category":"Other","currency":"EUR","date":"2024-11-04T22:00:00Z",)"
         R"("id":"ID","note":"n","payee":"","type":"Income"})"},
        {R"({"amount":true,"type":"Transfer","currency":" ß","date":"2024-11-05T10:00:00+02:00",)"
         R"("account":"wALLET","payee":"\"\\\u0000é"})",
         "Added: + SS 1.00 \"\\\0é [Other]. Reopen or refresh Tovra to see it."s,
         R"({"accountID":"w1","amount":1,"category":"Other","currency":" SS",)"
         R"("date":"2024-11-05T08:00:00Z","id":"ID","note":"","payee":"\"\\\u0000é",)"
         R"("type":"Transfer"})"},
        {R"({"amount":1e-7,"type":"income","date":"yesterday","account":"wallet "})",
         "Added: −USD 0.00  [Other]. Reopen or refresh Tovra to see it.",
         R"({"amount":1e-07,"category":"Other","currency":"USD","date":"2026-11-24T21:00:00Z",)"
         R"("id":"ID","note":"","payee":"","type":"Expense"})"},
        {R"({"amount":1,"type":7,"account":"STRASSE ſ"})",
         "Added: −USD 1.00  [Other]. Reopen or refresh Tovra to see it.",
         R"({"accountID":"","amount":1,"category":"Other","currency":"USD",)"
         R"("date":"2026-11-24T21:00:00Z","id":"ID","note":"","payee":"","type":"Expense"})"},
    };
    const test::EnvironmentScope zone("TZ", "Europe/Helsinki");
    const test::DataFile file(
        R"({"accounts":[{"name":"Wallet","id":"w1"},{"name":"WALLET","id":"w2"},)"
        R"({"name":"Straße S"}]})");
    std::string recorded;
    for (const auto& [arguments, text, record] : kCases) {
        EXPECT_EQ(addTransaction(arguments), text) << arguments;
        recorded += (recorded.empty() ? "" : ",") + std::string(record);
        EXPECT_EQ(listIn(file, "transactions"), "[" + recorded + "]") << arguments;
    }
}

TEST(AddToGoal, ChangesTheSavedTotalOfTheFirstMatchAlone) {
    const struct {
        const char *arguments, *text, *trip, *third, *last;
    } kCases[] = {
        {R"({"goal":"trip","amount":0.2})", "Added EUR 0.20 to \"Trip\". New total: EUR 0.30.",
         "0.30000000000000004", "{}", "true"},
        {R"({"amount":50})", "Added  50.00 to \"\". New total:  50.00.", "0.1", R"({"saved":50})",
         "true"},
        {R"({"goal":"οδος","amount":true})", "Added  1.00 to \"ΟΔΟΣ\". New total:  2.00.", "0.1",
         "{}", "2"}};
    for (const auto& [arguments, text, trip, third, last] : kCases) {
        const test::DataFile file(
            R"({"goals":[{"saved":0.1,"name":"Trip","x":1e400,"currency":"EUR"},)"
            R"({"name":"TRIP","saved":5},{},{"name":"ΟΔΟΣ","saved":true}]})");
        EXPECT_EQ(addToGoal(arguments), text);
        EXPECT_EQ(listIn(file, "goals"), R"([{"currency":"EUR","name":"Trip","saved":)" +
                                             std::string(trip) +
                                             R"(,"x":1e400},{"name":"TRIP","saved":5},)" + third +
                                             R"(,{"name":"ΟΔΟΣ","saved":)" + last + "}]")
            << arguments;
    }
}

TEST(AddTools, RefuseAmountsThatAreNotAboveZeroBeforeAnythingElse) {
    const test::DataFile file("broken");
    for (const char* amount : {"0", "-5", "\"12\"", "null", "false", "[1]", "-0.0", "1e-999"}) {
        const std::string arguments = std::string(R"({"goal":"none","amount":)") + amount + "}";
        EXPECT_EQ(addTransaction(arguments), "Error: amount must be greater than zero.") << amount;
        EXPECT_EQ(addToGoal(arguments), "Error: amount must be greater than zero.") << amount;
    }
    EXPECT_EQ(addTransaction("{}"), "Error: amount must be greater than zero.");
}

TEST(AddTools, ChangeNothingThatTheyCannotReadOrFind) {
    const std::string noObject = "The data file does not hold a JSON object";
    const std::string noList =
        "The member \"transactions\" of the data file is not a list of objects";
    const std::pair<const char*, std::string> cases[] = {
        {"broken", noObject},
        {"", noObject},
        {"[]", noObject},
        {R"({"transactions":null,"goals":[{"name":"a \"b\""},1]})", noList},
        {R"({"transactions":[{},1],"goals":[{"name":"a \"b\" "}]})", noList}};
    for (const auto& [content, problem] : cases) {
        const test::DataFile file(content);
        EXPECT_EQ(addTransaction(R"({"amount":1})"),
                  problem + " (" + file.path().string() + "). Nothing was changed.");
        EXPECT_EQ(addToGoal(R"({"goal":"a \"b\"","amount":1})"),
                  "Error: no goal named \"a \"b\"\". Use list_goals to see goals.");
        EXPECT_EQ(test::fileBytes(file.path()), content);
    }
    // sums and amounts that are no number any more, and folders that are none or not there
    const std::string largest = R"({"goals":[{"saved":1.7e308}]})";
    const test::DataFile file(largest);
    EXPECT_TRUE(addTransaction(R"({"amount":1e999})").ends_with("Nothing was changed."));
    EXPECT_TRUE(addToGoal(R"({"amount":1.7e308})").ends_with("Nothing was changed."));
    for (const char* below : {"/data.json", "/\xFF"}) {
        const test::EnvironmentScope variable("TOVRA_DATA_FILE", file.path().string() + below);
        const std::string answer = addTransaction(R"({"amount":1})");
        EXPECT_TRUE(answer.ends_with("Nothing was changed.") && isValidUtf8(answer)) << answer;
    }
    const std::filesystem::path missing = file.path().parent_path() / "none/data.json";
    const test::EnvironmentScope variable("TOVRA_DATA_FILE", missing);
    EXPECT_TRUE(addToGoal(R"({"amount":1})").starts_with("Error: no goal named \"\""));
    EXPECT_FALSE(std::filesystem::exists(missing.parent_path()));
    EXPECT_EQ(test::fileBytes(file.path()), largest);
}

}  // namespace
}  // namespace tovra
