#include <gtest/gtest.h>

#include "platform/json_write.h"
#include "platform/unicode.h"
#include "store/fields.h"
#include "store/recording.h"
#include "tests/support/scopes.h"
#include "tools/tools.h"

namespace tovra {
namespace {

using namespace std::string_literals;

// 2026-11-24T21:00:00.75Z
constexpr Instant kNow = 1795554000.75;

std::string addTransaction(std::string_view arguments) {
    return toolAddTransaction(json::parse(arguments)->root(), kNow);
}

std::string addToGoal(std::string_view arguments) {
    return toolAddToGoal(json::parse(arguments)->root());
}

// Whether it is a random UUID in upper case.
bool isUuid(std::string_view text) {
    if (text.size() != 36 || text[14] != '4') return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isHyphen = i == 8 || i == 13 || i == 18 || i == 23;
        const std::string_view allowed = isHyphen ? "-" : "0123456789ABCDEF";
        if (allowed.find(text[i]) == std::string_view::npos) return false;
    }
    return true;
}

// The last transaction of the file, compact and with its identifier replaced by "ID".
std::string lastTransaction(const std::filesystem::path& path) {
    const auto document = json::parse(test::fileBytes(path));
    if (!document) return "no JSON";
    const json::Children all = document->root().member("transactions").children();
    const json::Value last = all[all.size() - 1];
    std::string text;
    json::appendCompact(text, last);
    const std::string id(stringField(last, "id"));
    if (!isUuid(id)) return "no identifier";
    return text.replace(text.find(id), id.size(), "ID");
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
    for (const auto& [arguments, text, record] : kCases) {
        EXPECT_EQ(addTransaction(arguments), text) << arguments;
        EXPECT_EQ(lastTransaction(file.path()), record) << arguments;
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
    EXPECT_EQ(test::fileBytes(file.path()), "broken");
}

TEST(AddTransaction, RefusesToReplaceWhatItCannotRead) {
    const std::pair<const char*, const char*> kCases[] = {
        {"broken", "The data file does not hold a JSON object"},
        {"", "The data file does not hold a JSON object"},
        {"[]", "The data file does not hold a JSON object"},
        {R"({"transactions":null})",
         "The member \"transactions\" of the data file is not a list of objects"},
        {R"({"transactions":[{},1]})",
         "The member \"transactions\" of the data file is not a list of objects"}};
    for (const auto& [content, problem] : kCases) {
        const test::DataFile file(content);
        try {
            ADD_FAILURE() << addTransaction(R"({"amount":1})") << " on " << content;
        } catch (const RecordingError& error) {
            EXPECT_EQ(error.what(), std::string(problem) + " (" + file.path().string() +
                                        "). Nothing was changed.");
        }
        EXPECT_EQ(test::fileBytes(file.path()), content);
    }
    const test::DataFile file("{}");
    EXPECT_THROW(addTransaction(R"({"amount":1e999})"), RecordingError);
    EXPECT_EQ(test::fileBytes(file.path()), "{}");
    const test::EnvironmentScope variable("TOVRA_DATA_FILE", file.path().string() + "/\xFF");
    try {
        ADD_FAILURE() << addTransaction(R"({"amount":1})");
    } catch (const RecordingError& error) {
        EXPECT_TRUE(isValidUtf8(error.what())) << error.what();
    }
}

TEST(AddToGoal, ChangesTheSavedTotalOfTheFirstMatchAlone) {
    const test::DataFile file("{}");
    const char* kGoals = R"({"goals":[{"saved":0.1,"name":"Trip","x":1e400,"currency":"EUR"},)"
                         R"({"name":"TRIP","saved":5},{},{"name":"ΟΔΟΣ","saved":true}]})";
    const struct {
        const char* arguments;
        const char* text;
        const char* goals;
    } kCases[] = {
        {R"({"goal":"trip","amount":0.2})", "Added EUR 0.20 to \"Trip\". New total: EUR 0.30.",
         R"([{"currency":"EUR","name":"Trip","saved":0.30000000000000004,"x":1e400},)"
         R"({"name":"TRIP","saved":5},{},{"name":"ΟΔΟΣ","saved":true}])"},
        {R"({"amount":50})", "Added  50.00 to \"\". New total:  50.00.",
         R"([{"currency":"EUR","name":"Trip","saved":0.1,"x":1e400},{"name":"TRIP","saved":5},)"
         R"({"saved":50},{"name":"ΟΔΟΣ","saved":true}])"},
        {R"({"goal":"οδος","amount":true})", "Added  1.00 to \"ΟΔΟΣ\". New total:  2.00.",
         R"([{"currency":"EUR","name":"Trip","saved":0.1,"x":1e400},{"name":"TRIP","saved":5},)"
         R"({},{"name":"ΟΔΟΣ","saved":2}])"}};
    for (const auto& [arguments, text, goals] : kCases) {
        test::writeFile(file.path(), kGoals);
        EXPECT_EQ(addToGoal(arguments), text) << arguments;
        std::string written;
        const auto document = json::parse(test::fileBytes(file.path()));
        ASSERT_TRUE(document);
        json::appendCompact(written, document->root().member("goals"));
        EXPECT_EQ(written, goals) << arguments;
    }
}

TEST(AddToGoal, KnowsNoGoalWhereThereIsNone) {
    for (const char* content : {"broken", "[]", "{}", R"({"goals":[{"name":"a \"b\""},1]})",
                                R"({"goals":[{"name":"a \"b\" "}]})"}) {
        const test::DataFile file(content);
        EXPECT_EQ(addToGoal(R"({"goal":"a \"b\"","amount":1})"),
                  "Error: no goal named \"a \"b\"\". Use list_goals to see goals.")
            << content;
        EXPECT_EQ(test::fileBytes(file.path()), content);
    }
    const test::TemporaryFolder folder;
    test::writeFile(folder / "file", "{}");
    for (const char* path : {"none/data.json", "file/data.json"}) {
        const test::EnvironmentScope variable("TOVRA_DATA_FILE", folder / path);
        EXPECT_NE(addToGoal(R"({"amount":1})").find("no goal named \"\""), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "none"));

    const test::DataFile full(R"({"goals":[{"saved":1.7e308}]})");
    EXPECT_THROW(addToGoal(R"({"amount":1.7e308})"), RecordingError);
}

}  // namespace
}  // namespace tovra
